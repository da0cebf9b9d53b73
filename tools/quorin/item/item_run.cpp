#include "item/item_run.h"

#include <string>

#include "item/complaint.h"
#include "item/item_list.h"
#include "item/tally.h"
#include "output/talk.h"

namespace quorin_command {

ExitCode runItems(const Options& options, const ItemWork& work) {
  Analysis analysis(options);
  ItemList items(options.words, options.filesFrom, options.nulSeparated ? '\0' : '\n');
  Tally tally;
  for (std::string name; items.next(name);) {
    Record record = analysis.of(name);
    work.work(analysis, record);
    tally.count(record);
    if (options.verbose) {
      tellMoreAbout(record);
    }
    if (record.error && !options.quiet) {
      complainAbout(record);
    }
    if (!work.output(record)) {
      return EXIT_OUTPUT;
    }
  }
  if (items.error() != 0) {
    complain(options.filesFrom == "-" ? "standard input" : options.filesFrom, reasonOf(items.error()));
    return EXIT_USAGE;
  }
  return tally.exitCode();
}

}  // namespace quorin_command

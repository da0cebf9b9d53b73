#include "command_line/commands.h"

#include <algorithm>

namespace quorin_command {

const std::vector<CommandDefinition>& commandDefinitions() {
  static const std::vector<CommandDefinition> definitions = {
      {Command::Probe,
       "probe",
       "URI...",
       "what is each item?",
       "Tells what is behind each URI: an audio stream of which format, how long it is,\n"
       "where its data lies, what a player may do with it. One item gives a card,\n"
       "several give a table.\n",
       {defineItemList, defineSources, defineRedirects, defineNetwork, defineJson, defineLook, defineTalk},
       0},
      {Command::Scan,
       "scan",
       "PATH...",
       "analyse every file in folders",
       "Walks the folders and analyses every regular file in them, several at once.\n"
       "Writes a JSON record per file as it comes, or rows of a table to a terminal\n"
       "unless --json is given. A folder is looked into once, however many links lead\n"
       "there; links are followed, but not to a folder around one that is named.\n"
       "Files that are not recognised are counted, but are no failure.\n",
       {defineItemList, defineScan, defineSources, defineRedirects, defineNetwork, defineJson, defineLook, defineTalk},
       0},
      {Command::Cover,
       "cover",
       "(-o FILE | -d DIR) URI...",
       "copy the embedded pictures out",
       "Copies the embedded pictures of each item into files and reads nothing else of\n"
       "it. Prints the name of each file that was written. Several pictures of an item\n"
       "are numbered. A file that is there already stays as it is, and its item has\n"
       "failed, unless --force is given.\n",
       {defineItemList, defineSources, defineRedirects, defineNetwork, defineOutputFile, defineOutputFolder,
        defineForce, defineJson, defineLook, defineTalk},
       0},
      {Command::Map,
       "map",
       "URI [--svg FILE]",
       "what lies where, and which bytes were read to find out",
       "Shows where tags, pictures, headers, audio and what follows it lie in an item,\n"
       "and which of its bytes were read to find out. With --svg the map becomes a\n"
       "picture for a browser. A file that is there already stays as it is, and its item\n"
       "has failed, unless --force is given.\n",
       {defineSources, defineRedirects, defineNetwork, defineMapPicture, defineForce, defineJson, defineLook,
        defineTalk},
       1},
      {Command::Play,
       "play",
       "URI",
       "write the stream from the play position to standard output",
       "Writes the audio to standard output, from where playing begins to its end,\n"
       "without the metadata of a live stream: quorin play URL | mpg123 -\n"
       "Ends quietly when the reader goes away. Standard output is the stream alone:\n"
       "with --json the record comes last on standard error.\n",
       {defineSources, defineRedirects, defineNetwork, defineJson, defineLook, defineTalk},
       1},
      {Command::Report,
       "report",
       "-o FILE SCAN",
       "make a page for the browser from records",
       "Makes one HTML page from what --json has written to SCAN ('-': standard input):\n"
       "the totals, how formats, lengths and bit rates are spread, what took longest and\n"
       "cost most, what failed and why, and a list to search and sort. The page needs no\n"
       "network. A line that is no record is told, left out, and counts like an item\n"
       "that failed. A FILE that is there already stays as it is, unless --force is\n"
       "given; that is an output error (4), for there is no item that could have failed.\n",
       {defineOutputFile, defineForce, defineTalk},
       1},
  };
  return definitions;
}

const CommandDefinition* commandNamed(std::string_view name) {
  for (const CommandDefinition& definition : commandDefinitions()) {
    if (definition.name == name) {
      return &definition;
    }
  }
  return nullptr;
}

bool takesItems(const CommandDefinition& command) {
  return std::find(command.groups.begin(), command.groups.end(), defineSources) != command.groups.end();
}

void define(const CommandDefinition& command, CLI::App& app, Given& given) {
  for (const OptionGroup group : command.groups) {
    group(app, given);
  }
  defineAnswers(app, given);
}

void defineAll(CLI::App& app, Given& given) {
  std::vector<OptionGroup> defined;
  for (const CommandDefinition& command : commandDefinitions()) {
    for (const OptionGroup group : command.groups) {
      if (std::find(defined.begin(), defined.end(), group) == defined.end()) {
        defined.push_back(group);
        group(app, given);
      }
    }
  }
  defineAnswers(app, given);
}

}  // namespace quorin_command

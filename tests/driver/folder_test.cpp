// Folders of the file system, by their URIs.

#include <gtest/gtest.h>

#include <boost/make_shared.hpp>
#include <stdexcept>

#include "folder_answer.h"
#include "support/temporary_folder.h"

namespace quorin_test {
namespace {

using zu::md::common::quorin::Analyzer;
using zu::md::common::quorin::AnalyzeResult;

TEST(DriverFolder, OfTheFileSystemIsAnsweredWithoutOpening) {
  const TemporaryFolder folder;
  for (const std::string& uri : {folder.path(), folder / "", "file:" + folder.path(), "file://" + folder.path(),
                                 "file:///" + folder.path(), "FILE:" + (folder / "")}) {
    expectFolder(uri);
    EXPECT_EQ(Analysis(uri).log, "4000 Analyzer::Impl::analyze() analyze '" + uri + "'.\n" +
                                     "4000 quorin-url-rework.cpp:#:reworkUrl(): called\n" +
                                     "4000 quorin-url-rework.cpp:#:reworkUrl(): done. not translated. '" + uri + "'\n");
  }
}

TEST(DriverFolder, FileAloneIsAnExceptionOverAFreshResult) {
  zu::md::common::strell::OpenParams params;
  params.uri = "file";
  const auto before = boost::make_shared<AnalyzeResult>();
  boost::shared_ptr<AnalyzeResult> result = before;
  EXPECT_THROW(Analyzer(Analyzer::MODE_AUDIO).analyze(params, result), std::out_of_range);
  ASSERT_TRUE(result);
  EXPECT_NE(result, before);
  EXPECT_FALSE(result->info);
  EXPECT_FALSE(result->strell);
}

}  // namespace
}  // namespace quorin_test

#include "virtual_instrument/session/library.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/temporary_folder.h"
#include "unit/record_form/sample_records.h"
#include "unit/virtual_instrument/store/store_files.h"

namespace virtual_instrument {
namespace {

/// The bench file of all libraries here.
std::filesystem::path& bench_file() {
  static std::filesystem::path file;
  return file;
}

TEST(Library, PutsAwayItsStoreWhenTheProcessEnds) {
  const TemporaryFolder folder;
  bench_file() = folder.path() / "bench.toml";
  const std::filesystem::path store = folder.path() / "records.db";
  folder.write("bench.toml", "[store]\nfile = '" + store.generic_string() + "'\n");
  Library library([] { return bench_file(); });
  const kvr_InitParams params{};
  ASSERT_EQ(library.initialize(&params), KVR_RES_OK);
  EXPECT_THAT(files_in(folder.path()), testing::Contains("records.db-wal"));
  library.close_store_at_process_end();
  EXPECT_THAT(files_in(folder.path()), testing::ElementsAre("bench.toml", "records.db"));
  library.close_store_at_process_end();  // finds it done
  EXPECT_EQ(library.shut_down(), KVR_RES_OK);
  EXPECT_EQ(contents_of(store), "");
}

TEST(Library, HasNoStoreToPutAwayBeforeItsFirstSession) {
  Library library([] { return std::filesystem::path(); });
  library.close_store_at_process_end();
  EXPECT_EQ(library.shut_down(), KVR_RES_LIB_NOT_INITIALIZED);
}

}  // namespace
}  // namespace virtual_instrument

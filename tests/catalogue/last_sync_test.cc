// SPDX-License-Identifier: GPL-3.0-or-later
#include "catalogue/last_sync.h"

#include <gtest/gtest.h>

#include "catalogue/reconcile.h"
#include "catalogue/schema.h"
#include "tests/support/sql.h"
#include "tests/support/test_files.h"

namespace corvexal {
namespace {

// A library of one file that a sync has brought in line.
class LastSyncTest : public ::testing::Test {
 protected:
  LastSyncTest() {
    folder_.write("film.iso", "");
    mended(true);
  }

  struct Run {
    explicit Run(const std::string& mount) {
      session.config.sharepath = session.config.mntpath = mount;
      EXPECT_EQ(create_catalogue(mount), 0);
      EXPECT_EQ(session.db.open(catalogue_path(mount)), SQLITE_OK);
    }
    Session session;
  };

  // How much a sync mended.
  std::uint64_t mended(bool trusts_last_sync) const {
    Run run(mount_);
    ReconcileTask task;
    task.share = mount_ + '/';
    task.folders = {task.share};
    task.trusts_last_sync = trusts_last_sync;
    ReconcileListener nobody;
    testing::CapturedOutput output;
    return reconcile(run.session, task, nobody).mended;
  }

  testing::TestFolder folder_;
  const std::string mount_ = folder_.path();
};

TEST_F(LastSyncTest, SparesTheLookAtRowsUnlessToldNotTo) {
  {
    Run run(mount_);
    const LastSync last_sync(run.session);
    run.session.db.exec("update video_tbl set Depth=\"%d\";", 9);
    run.session.db.exec("COMMIT;");
    last_sync.replace(*last_sync.folders(), song_store_state(run.session));
  }
  EXPECT_EQ(mended(true), 0U);
  EXPECT_GT(mended(false), 0U);
}

TEST_F(LastSyncTest, IsNotReplacedWhenSomebodyElseWroteMeanwhile) {
  {
    Run run(mount_);
    const LastSync last_sync(run.session);
    testing::Sql(catalogue_path(mount_)).run("update video_tbl set Depth='9'");
    last_sync.replace(*last_sync.folders(), song_store_state(run.session));
  }
  EXPECT_GT(mended(true), 0U);
}

}  // namespace
}  // namespace corvexal

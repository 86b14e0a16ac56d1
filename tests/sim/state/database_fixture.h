#pragma once

#include <sqlite3.h>

#include <string>

#include "tests/sim/state/snapshot_fixture.h"

namespace kvnsim {

/* A switch, and a database that a test writes and changes by hand. */
class DatabaseFixture : public SnapshotFixture {
protected:
    ScratchFile file{"switch.db"};

    void run_sql(const std::string &sql)
    {
        sqlite3 *db = nullptr;
        ASSERT_EQ(sqlite3_open(file.path.c_str(), &db), SQLITE_OK);
        EXPECT_EQ(sqlite3_exec(db, sql.c_str(), nullptr, nullptr, nullptr), SQLITE_OK)
            << sqlite3_errmsg(db);
        sqlite3_close(db);
    }
};

} // namespace kvnsim

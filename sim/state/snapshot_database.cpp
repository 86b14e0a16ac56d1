#include "sim/state/snapshot_database.h"

#include <algorithm>
#include <cstring>
#include <set>

namespace kvnsim {

void refuse_file(const std::string &path, const std::string &reason)
{
    throw SnapshotError(path + ": " + reason);
}

/* The word (such as a call's name), valid for the life of the process. */
const char *lasting(std::string_view word)
{
    if (const ImportedCall *known = ImportedCall::find(word))
        return known->name();
    static std::set<std::string, std::less<>> others;
    const auto at = others.find(word);
    return (at != others.end() ? at : others.emplace(word).first)->c_str();
}

std::string Database::problem() const
{
    const std::string message = trouble_ + sqlite3_errmsg(db_);
    int reason = 0;
    if (sqlite3_errcode(db_) == SQLITE_CANTOPEN)
        reason = sqlite3_system_errno(db_);
    else if (sqlite3_errcode(db_) == SQLITE_IOERR)
        sqlite3_file_control(db_, nullptr, SQLITE_FCNTL_LAST_ERRNO, &reason);
    if (reason == 0)
        return message;
    return (is_read_ ? "cannot be read: " : trouble_) + std::strerror(reason);
}

int Database::number(const char *pragma)
{
    Statement asked(*this, std::string("PRAGMA ") + pragma);
    int answer = 0;
    if (asked.step())
        asked.get(answer);
    return answer;
}

void Database::require_plain(const char *table)
{
    if (!not_plain_) {
        Statement asked(*this, "SELECT lower(name) FROM sqlite_schema GROUP BY 1 HAVING NOT "
                               "max(ifnull(type = 'table' AND sql LIKE 'CREATE TABLE %', 0))");
        for (not_plain_.emplace(); asked.step();)
            asked.get(not_plain_->emplace_back());
    }
    if (std::find(not_plain_->begin(), not_plain_->end(), table) != not_plain_->end())
        refuse_file(name_, fmt::format("{}{} is no plain table", trouble_, table));
}

} // namespace kvnsim

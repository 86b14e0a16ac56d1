#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

namespace kvnsim {

/* A place in a configuration. Copies share the names of its row. */
class SourceLocation {
public:
    SourceLocation() = default;
    SourceLocation(std::string file, uint32_t line, uint32_t column, std::string table,
                   std::string key);
    /* The same, in the table of another location: with its file, too. */
    SourceLocation(const SourceLocation &table, uint32_t line, uint32_t column, std::string key);

    uint32_t line = 0, column = 0; /* 1-based; 0 where there are none, as in a database */

    /* As given on the command line, "-" for standard input; of a running configuration database its
     * URL, without a password. */
    const std::string &file() const { return row_ ? row_->table->file : none(); }
    const std::string &table() const { return row_ ? row_->table->name : none(); } /* "INTERFACE" */
    /* "Ethernet0|10.0.0.1/31" */
    const std::string &key() const { return row_ ? row_->key : none(); }
    static constexpr std::string_view column_names = "file, line, column, table, key";

    std::string row() const;     /* "INTERFACE|Ethernet0" */
    std::string to_text() const; /* "leaf.json:12:5: INTERFACE|Ethernet0"; without line and column
                                    "redis://127.0.0.1:6379/4: INTERFACE|Ethernet0" */
    friend bool operator==(const SourceLocation &a, const SourceLocation &b);

private:
    struct Table {
        std::string file, name;
    };
    struct Row {
        Row(std::shared_ptr<const Table> of, std::string &&named)
            : table(std::move(of)), key(std::move(named))
        {}
        std::shared_ptr<const Table> table;
        std::string key;
    };
    static const std::string &none();

    std::shared_ptr<const Row> row_;
};

} // namespace kvnsim

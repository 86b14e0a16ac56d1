#include "sim/types/source_location.h"

#include <tuple>
#include <utility>

#include "sim/types/text.h"

namespace kvnsim {

SourceLocation::SourceLocation(std::string file, uint32_t at_line, uint32_t at_column,
                               std::string table, std::string key)
    : line(at_line), column(at_column),
      row_(std::make_shared<const Row>(
          std::make_shared<const Table>(Table{std::move(file), std::move(table)}), std::move(key)))
{}

SourceLocation::SourceLocation(const SourceLocation &table, uint32_t at_line, uint32_t at_column,
                               std::string key)
    : line(at_line), column(at_column),
      row_(std::make_shared<const Row>(
          table.row_ ? table.row_->table : std::make_shared<const Table>(), std::move(key)))
{}

const std::string &SourceLocation::none()
{
    static const std::string empty;
    return empty;
}

bool operator==(const SourceLocation &a, const SourceLocation &b)
{
    const auto columns = [](const SourceLocation &of) {
        return std::tie(of.line, of.column, of.file(), of.table(), of.key());
    };
    return columns(a) == columns(b);
}

std::string SourceLocation::row() const
{
    std::string text;
    text.reserve(table().size() + key().size() + sizeof '|');
    text += table();
    if (!key().empty())
        (text += '|') += key();
    return text;
}

std::string SourceLocation::to_text() const
{
    std::string text;
    text.reserve(file().size() + table().size() + key().size() +
                 sizeof ":4294967295:4294967295: |");
    append_visible(text, file());
    if (line != 0)
        text.append(":").append(std::to_string(line)).append(":").append(std::to_string(column));
    if (!table().empty())
        append_printable(text.append(": "), row());
    return text;
}

} // namespace kvnsim

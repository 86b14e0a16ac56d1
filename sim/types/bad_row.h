#pragma once

#include <cstddef>
#include <stdexcept>
#include <string>
#include <string_view>

namespace kvnsim {

/* Why rows cannot be the state of a switch: "table asic_trap, row 3, column intf_id: there is no
 * interface 77". Rows are numbered from 1. */
class BadRow : public std::runtime_error {
public:
    BadRow(std::string_view table, size_t row, std::string_view column, const std::string &reason)
        : std::runtime_error("table " + std::string(table) + ", row " + std::to_string(row) +
                             ", column " + std::string(column) + ": " + reason)
    {}
};

} // namespace kvnsim

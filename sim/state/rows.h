#pragma once

#include <string_view>

#include "sim/state/snapshot.h"

/* What works on any row type by its columns. */
namespace kvnsim {

/* The word, a call's name for one, kept for as long as the process lives. */
const char *lasting(std::string_view word);

inline bool same_value(const SourceLocation &a, const SourceLocation &b)
{
    return a.file == b.file && a.line == b.line && a.column == b.column && a.table == b.table &&
           a.key == b.key;
}
template <class T> bool same_value(const T &a, const T &b)
{
    return a == b;
}

template <class Row> bool same_row(const Row &a, const Row &b)
{
    bool same = true;
    Row::columns(
        [&](const char *, auto member) { same = same && same_value(a.*member, b.*member); });
    return same;
}

} // namespace kvnsim

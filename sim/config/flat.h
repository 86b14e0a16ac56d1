#pragma once

#include <optional>
#include <string>
#include <vector>

#include "sim/config/document.h"

/* The flat form of a configuration, as a running configuration database holds it: a row is a hash
 * of texts under the key "TABLE|key", a list is a text with commas under "name@", and a row without
 * fields has a field that says so. */
namespace kvnsim {

struct FlatKey {
    std::string table, row; /* neither is empty; the row's key may have more bars */
};
/* "INTERFACE|Ethernet0|192.0.2.0/31" is the row Ethernet0|192.0.2.0/31 of INTERFACE; empty for a
 * key of another form. */
std::optional<FlatKey> split_flat_key(const std::string &key);

/* The same fields in the form that files have: the text "members@" becomes the list "members", and
 * {"NULL": "NULL"} is no field. */
void unflatten(std::vector<DocumentField> &fields);

} // namespace kvnsim

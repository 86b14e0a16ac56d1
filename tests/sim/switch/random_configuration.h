#pragma once

#include <rapidcheck.h>

#include <ostream>
#include <string>
#include <utility>
#include <vector>

/* Random configurations as text: every table and field that is read, with valid and almost valid
 * keys and values, in both forms. */
namespace kvnsim {

struct RandomRow {
    std::string table, key;
    std::vector<std::pair<std::string, std::string>> fields; /* the value as JSON */
    bool is_flat = false;
};

/* A repeated row replaces an earlier one. Shown as its text. */
struct RandomConfiguration {
    std::vector<RandomRow> rows;
    std::string text() const;
    /* After these rows, others. */
    RandomConfiguration with(const RandomConfiguration &more) const;
};
std::ostream &operator<<(std::ostream &out, const RandomConfiguration &configuration);

/* Some ports, port-channels and VLANs, for rows to refer to. */
RandomConfiguration basic_configuration();
rc::Gen<RandomConfiguration> any_configuration();
/* The same with rows of PORT, most of which have an index. */
rc::Gen<RandomConfiguration> any_ports();

} // namespace kvnsim

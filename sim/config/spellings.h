#pragma once

#include <map>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "sim/types/natural_order.h"

/* Names as people write them. */
namespace kvnsim {

using Names = std::set<std::string, NaturalOrder>;

/* The one that is meant, or what is wrong. */
struct Meant {
    std::string name;
    std::string problem; /* empty, or "there is no interface "Eth1" (did you mean ...?)" */
};

/* Names, and their other spellings: an alias; the short form of the kind (Po1, Eth56.10); with or
 * without leading zeros; in upper or lower case. */
class Spellings {
public:
    void add(const std::string &name, const std::string &alias = "");
    void merge(const Spellings &other);

    const Names &names() const { return names_; }
    /* What is written exactly so comes first: a name, then an alias, then any other spelling. what:
     * of messages, "interface". */
    Meant meant(const std::string &written, const char *what) const;
    /* The names that begin so; without one, the other spellings that do. */
    std::vector<std::string> beginning_with(const std::string &begun) const;

private:
    Names names_;
    std::map<std::string, Names> aliases_;
    std::map<std::string, Names> by_key_; /* what the spellings of a name or alias share */
};

} // namespace kvnsim

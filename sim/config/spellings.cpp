#include "sim/config/spellings.h"

#include <algorithm>
#include <utility>

#include <fmt/format.h>

#include "sim/config/names.h"
#include "sim/config/similar.h"
#include "sim/types/text.h"

namespace kvnsim {
namespace {

std::string key_of(const std::string &text)
{
    const std::string key = interface_key(text);
    return key.empty() ? spelling(text) : key;
}

} // namespace

void Spellings::add(const std::string &name, const std::string &alias)
{
    if (names_.insert(name).second)
        by_key_[key_of(name)].insert(name);
    if (alias.empty())
        return;
    aliases_[alias].insert(name);
    by_key_[key_of(alias)].insert(name);
}

void Spellings::merge(const Spellings &other)
{
    names_.insert(other.names_.begin(), other.names_.end());
    for (const auto &[from, to] :
         {std::pair(&other.aliases_, &aliases_), std::pair(&other.by_key_, &by_key_)}) {
        for (const auto &[text, names] : *from)
            (*to)[text].insert(names.begin(), names.end());
    }
}

Meant Spellings::meant(const std::string &written, const char *what) const
{
    if (names_.count(written) != 0)
        return {written, ""};
    for (const auto &[spellings, wanted] :
         {std::pair(&aliases_, written), std::pair(&by_key_, key_of(written))}) {
        const auto found = spellings->find(wanted);
        if (found == spellings->end())
            continue;
        const Names &names = found->second;
        if (names.size() == 1)
            return {*names.begin(), ""};
        return {"", fmt::format("{} is ambiguous: {}", in_quotes(written), fmt::join(names, ", "))};
    }
    std::vector<std::string> known(names_.begin(), names_.end());
    for (const auto &[alias, names] : aliases_)
        known.push_back(alias);
    return {"", fmt::format("there is no {} {}{}", what, in_quotes(written),
                            did_you_mean(written, known))};
}

std::vector<std::string> Spellings::beginning_with(const std::string &begun) const
{
    std::vector<std::string> found;
    for (const std::string &name : names_) {
        if (starts_with(name, begun))
            found.push_back(name);
    }
    /* The rest of a spelling completes what was begun in another case. */
    const auto offer_rest = [&](const std::string &whole) {
        if (!starts_with(spelling(whole), spelling(begun)) || whole.size() < begun.size())
            return;
        const std::string candidate = begun + whole.substr(begun.size());
        if (std::find(found.begin(), found.end(), candidate) == found.end())
            found.push_back(candidate);
    };
    if (found.empty()) {
        for (const auto &[alias, names] : aliases_)
            offer_rest(alias);
        std::for_each(names_.begin(), names_.end(), offer_rest);
    }
    if (found.empty()) {
        for (const auto &[key, names] : by_key_)
            offer_rest(key);
    }
    return found;
}

} // namespace kvnsim

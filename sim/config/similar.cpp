#include "sim/config/similar.h"

#include <algorithm>
#include <cctype>
#include <utility>

namespace kvnsim {
namespace {

constexpr size_t most_suggestions = 3;

bool same(char a, char b)
{
    return std::tolower(static_cast<unsigned char>(a)) ==
           std::tolower(static_cast<unsigned char>(b));
}

/* How many characters must be added, removed or changed, ignoring case. */
size_t distance(std::string_view a, std::string_view b)
{
    std::vector<size_t> row(b.size() + 1);
    for (size_t j = 0; j <= b.size(); ++j)
        row[j] = j;
    for (size_t i = 0; i < a.size(); ++i) {
        size_t diagonal = row[0];
        row[0] = i + 1;
        for (size_t j = 0; j < b.size(); ++j) {
            const size_t changed = diagonal + (same(a[i], b[j]) ? 0 : 1);
            diagonal = row[j + 1];
            row[j + 1] = std::min({changed, row[j] + 1, row[j + 1] + 1});
        }
    }
    return row[b.size()];
}

} // namespace

bool differ_in_one(std::string_view a, std::string_view b)
{
    return std::max(a.size(), b.size()) - std::min(a.size(), b.size()) <= 1 && distance(a, b) == 1;
}

std::vector<std::string> similar_names(std::string_view name, const std::vector<std::string> &names)
{
    const size_t near_enough = std::max<size_t>(1, std::min<size_t>(3, name.size() / 3));
    std::vector<std::pair<size_t, std::string_view>> nearest;
    for (const std::string &candidate : names) {
        const size_t longer = std::max(candidate.size(), name.size());
        if (longer - std::min(candidate.size(), name.size()) > near_enough)
            continue;
        const size_t far = distance(name, candidate);
        if (far <= near_enough)
            nearest.emplace_back(far, candidate);
    }
    std::stable_sort(nearest.begin(), nearest.end(),
                     [](const auto &a, const auto &b) { return a.first < b.first; });
    std::vector<std::string> similar;
    for (size_t i = 0; i < std::min(most_suggestions, nearest.size()); ++i)
        similar.emplace_back(nearest[i].second);
    return similar;
}

std::string did_you_mean(std::string_view name, const std::vector<std::string> &names)
{
    std::string text;
    for (const std::string &similar : similar_names(name, names))
        text += (text.empty() ? " (did you mean " : ", ") + similar;
    return text.empty() ? text : text + "?)";
}

} // namespace kvnsim

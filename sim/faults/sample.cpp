#include "sim/faults/sample.h"

#include <algorithm>
#include <unordered_set>

#include "sim/journal/random.h"

namespace kvnsim {

/* Floyd's method: one random number for each that is chosen, however many there are. */
Sample::Sample(uint64_t total, std::optional<uint64_t> wanted, uint64_t seed)
    : total_(total), all_(!wanted || *wanted >= total)
{
    if (all_)
        return;
    std::unordered_set<uint64_t> chosen;
    for (uint64_t last = total - *wanted + 1; last <= total; ++last) {
        const uint64_t number = 1 + next_random(seed) % last;
        chosen_.push_back(chosen.insert(number).second ? number : last);
        chosen.insert(chosen_.back());
    }
    std::sort(chosen_.begin(), chosen_.end());
}

uint64_t Sample::position(uint64_t number) const
{
    if (number == 0 || number > total_)
        return 0;
    if (all_)
        return number;
    const auto at = std::lower_bound(chosen_.begin(), chosen_.end(), number);
    return at != chosen_.end() && *at == number ? static_cast<uint64_t>(at - chosen_.begin()) + 1
                                                : 0;
}

uint64_t Sample::count(uint64_t first, uint64_t last) const
{
    if (first > last)
        return 0;
    if (all_)
        return last - first + 1;
    return static_cast<uint64_t>(std::upper_bound(chosen_.begin(), chosen_.end(), last) -
                                 std::lower_bound(chosen_.begin(), chosen_.end(), first));
}

} // namespace kvnsim

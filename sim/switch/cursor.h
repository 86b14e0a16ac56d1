#pragma once

#include <string>
#include <tuple>
#include <utility>

namespace kvnsim {

/* Go through two maps in the same order at once: visit(name, value, other) for each name, with
 * nullptr where a map has none. */
template <class Map, class Other, class Visit> void walk(Map &map, Other &other, const Visit &visit)
{
    auto in_one = map.begin();
    auto in_other = other.begin();
    const decltype(&in_one->second) no_value = nullptr;
    const decltype(&in_other->second) no_other = nullptr;
    while (in_one != map.end() || in_other != other.end()) {
        const bool only_one =
            in_other == other.end() || (in_one != map.end() && in_one->first != in_other->first &&
                                        map.key_comp()(in_one->first, in_other->first));
        if (only_one) {
            visit(in_one->first, &in_one->second, no_other);
            ++in_one;
        } else if (in_one == map.end() || in_one->first != in_other->first) {
            visit(in_other->first, no_value, &in_other->second);
            ++in_other;
        } else {
            visit(in_one->first, &in_one->second, &in_other->second);
            ++in_one;
            ++in_other;
        }
    }
}

/* A position in a sorted map. Names looked up in order are found by stepping forward, at a cost
 * independent of the map's size. While it is in use, only it may erase. */
template <class Map> class Cursor {
public:
    explicit Cursor(Map &map) : map_(map), at_(map.begin()) {}

    /* The entry's value, or nullptr. */
    auto *find(const std::string &name) { return move_to(name) ? &at_->second : nullptr; }

    void erase(const std::string &name)
    {
        if (move_to(name))
            at_ = map_.erase(at_);
    }

    template <class Value> void put(const std::string &name, Value &&value)
    {
        if (at_ != map_.end())
            ++at_;
        at_ = map_.emplace_hint(at_, std::piecewise_construct, std::forward_as_tuple(name),
                                std::forward_as_tuple());
        at_->second = std::forward<Value>(value);
    }

private:
    /* To the entry of that name, or the one after its place. */
    bool move_to(const std::string &name)
    {
        constexpr int near = 4;
        auto next = at_;
        for (int step = 0; step < near && next != map_.end(); ++step, ++next) {
            if (next->first == name) {
                at_ = next;
                return true;
            }
        }
        at_ = map_.lower_bound(name);
        return at_ != map_.end() && at_->first == name;
    }

    Map &map_;
    decltype(std::declval<Map &>().begin()) at_;
};

} // namespace kvnsim

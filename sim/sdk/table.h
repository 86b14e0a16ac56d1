#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

/* The building blocks of the ASIC's tables. */
namespace kvnsim {

/* A set of bits 0..65535; finds the lowest set bit in three steps. */
class LowestBit {
public:
    void set(uint32_t bit)
    {
        leaves_[bit >> 6] |= mask(bit);
        middles_[bit >> 12] |= mask(bit >> 6);
        top_ |= mask(bit >> 12);
    }
    void clear(uint32_t bit)
    {
        if ((leaves_[bit >> 6] &= ~mask(bit)) != 0)
            return;
        if ((middles_[bit >> 12] &= ~mask(bit >> 6)) == 0)
            top_ &= ~mask(bit >> 12);
    }
    bool none() const { return top_ == 0; }
    bool test(uint32_t bit) const { return (leaves_[bit >> 6] & mask(bit)) != 0; }
    /* At least one bit must be set. */
    uint32_t lowest() const
    {
        const uint32_t middle = first(top_);
        const uint32_t leaf = middle * 64 + first(middles_[middle]);
        return leaf * 64 + first(leaves_[leaf]);
    }

private:
    static uint64_t mask(uint32_t bit) { return uint64_t{1} << (bit & 63); }
    static uint32_t first(uint64_t bits) { return static_cast<uint32_t>(__builtin_ctzll(bits)); }

    std::array<uint64_t, 1024> leaves_{};
    std::array<uint64_t, 16> middles_{};
    uint64_t top_ = 0;
};

/* Present use, highest use and capacity of a table. */
struct Occupancy {
    uint32_t capacity = 0, used = 0, high_water = 0;
    bool full() const { return used >= capacity; }
    void use(uint32_t now)
    {
        used = now;
        high_water = std::max(high_water, now);
    }
};

/* The identifiers that a table can hand out. */
constexpr uint32_t first_id = 1, last_id = 65534;

/* Rows by identifier, the lowest free one first. Pointers to rows are valid until the next take().
 */
template <class Row> class Table {
public:
    Occupancy occupancy; /* others may change its capacity only */

    explicit Table(uint32_t capacity) : occupancy{capacity}, rows_(first_id) {}

    /* A new row; the table must not be full. */
    uint32_t take(Row row)
    {
        occupancy.use(occupancy.used + 1);
        if (released_.none()) {
            rows_.push_back(std::move(row));
            return static_cast<uint32_t>(rows_.size() - 1);
        }
        const uint32_t id = released_.lowest();
        released_.clear(id);
        rows_[id] = std::move(row);
        return id;
    }
    void release(uint32_t id)
    {
        rows_[id] = Row();
        released_.set(id);
        occupancy.use(occupancy.used - 1);
    }
    Row *find(uint32_t id)
    {
        return id >= first_id && id < rows_.size() && !released_.test(id) ? &rows_[id] : nullptr;
    }
    Row &operator[](uint32_t id) { return rows_[id]; }

    /* Call visit(row) for each row, in the order of the identifiers. */
    template <class Visit> void each(Visit &&visit) const
    {
        for (uint32_t id = first_id; id < rows_.size(); ++id) {
            if (!released_.test(id))
                visit(rows_[id]);
        }
    }

private:
    LowestBit released_;    /* free identifiers of former rows */
    std::vector<Row> rows_; /* by identifier */
};

/* A link in a chain of rows that refer to the same object; 0 = none. */
struct Link {
    uint32_t next = 0, previous = 0;
};

/* Enter the row into the chain that begins at head, by its link `at`, and take it out again. */
template <class Row> void chain(Table<Row> &table, uint32_t &head, Link Row::*at, uint32_t id)
{
    (table[id].*at) = {head, 0};
    if (head != 0)
        (table[head].*at).previous = id;
    head = id;
}
template <class Row> void unchain(Table<Row> &table, uint32_t &head, Link Row::*at, uint32_t id)
{
    const Link link = table[id].*at;
    if (link.next != 0)
        (table[link.next].*at).previous = link.previous;
    if (link.previous != 0)
        (table[link.previous].*at).next = link.next;
    else
        head = link.next;
    (table[id].*at) = {};
}

} // namespace kvnsim

#pragma once

#include <algorithm>
#include <cstdint>
#include <functional>
#include <optional>
#include <queue>
#include <utility>
#include <vector>

/* The building blocks of the ASIC's tables. */
namespace kvnsim {

/* Numbers to use again, the lowest one on top. */
using LowestFirst = std::priority_queue<uint32_t, std::vector<uint32_t>, std::greater<uint32_t>>;

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
        if (released_.empty()) {
            rows_.push_back(std::move(row));
            return static_cast<uint32_t>(rows_.size() - 1);
        }
        const uint32_t id = released_.top();
        released_.pop();
        rows_[id] = std::move(row);
        return id;
    }
    /* Put a row back under its identifier, which must be free; free_gaps() after the last one. */
    void put(uint32_t id, Row row)
    {
        if (id >= rows_.size())
            rows_.resize(id + 1);
        rows_[id] = std::move(row);
        occupancy.use(occupancy.used + 1);
    }
    void free_gaps()
    {
        for (uint32_t id = first_id; id < rows_.size(); ++id) {
            if (!rows_[id])
                released_.push(id);
        }
    }
    void release(uint32_t id)
    {
        rows_[id].reset();
        released_.push(id);
        occupancy.use(occupancy.used - 1);
    }
    /* Beyond all identifiers in use. */
    uint32_t end_id() const { return static_cast<uint32_t>(rows_.size()); }
    Row *find(uint32_t id) { return id < rows_.size() && rows_[id] ? &*rows_[id] : nullptr; }
    Row &operator[](uint32_t id) { return *rows_[id]; }

    /* Call visit(row) for each row, in the order of the identifiers. */
    template <class Visit> void each(Visit &&visit) const { each_of(rows_, visit); }
    template <class Visit> void each(Visit &&visit) { each_of(rows_, visit); }

private:
    template <class Rows, class Visit> static void each_of(Rows &rows, Visit &visit)
    {
        for (auto &row : rows) {
            if (row)
                visit(*row);
        }
    }

    LowestFirst released_;                 /* free identifiers of former rows */
    std::vector<std::optional<Row>> rows_; /* by identifier */
};

} // namespace kvnsim

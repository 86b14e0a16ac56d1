/* Two snapshots, compared table by table. Identifiers are replaced by the names of the interfaces
 * that own them before rows are matched, so two switches that allocated different identifiers for
 * the same configuration do not differ. */
#include "sim/state/compare.h"

#include <cassert>
#include <map>
#include <type_traits>

#include <fmt/format.h>

#include "platform_api/libsdk.h"
#include "sim/sdk/asic.h"
#include "sim/sdk/attributes.h"
#include "sim/state/index.h"
#include "sim/switch/cursor.h"

namespace kvnsim {
namespace {

/* The key columns of a table. */
template <class Row> constexpr std::string_view key_of = "ifindex";
template <> constexpr std::string_view key_of<IntfRow> = "intf_id";
template <> constexpr std::string_view key_of<AttributeValueRow> = "intf_id, number";
template <> constexpr std::string_view key_of<LidRow> = "lid_id";
template <> constexpr std::string_view key_of<LidPathRow> = "lid_id, position";
template <> constexpr std::string_view key_of<PortChannelRow> = "pc_id";
template <> constexpr std::string_view key_of<MemberRow> = "pc_id, front_port";
template <> constexpr std::string_view key_of<RouterMacRow> = "mac";
template <> constexpr std::string_view key_of<TrapRow> = "intf_id, mac";

/* A row without its key. */
struct Seen {
    std::string identifiers; /* "intf_id 5" */
    bool is_initial = false; /* the initial value: same as no row */
    std::vector<std::pair<std::string_view, std::string>> values;
};
using Rows = std::map<std::string, Seen, NaturalOrder>;

/* The rows of one snapshot, by names that do not depend on allocated identifiers. */
class RowNames {
public:
    explicit RowNames(const Snapshot &snapshot) : index_(snapshot) {}

    template <class Row> Rows rows(const std::vector<Row> &table) const
    {
        Rows seen;
        for (const Row &row : table) {
            std::string key;
            Seen entry;
            each_column(row, [&](std::string_view name, const auto &value) {
                add(row, name, value, key, entry);
            });
            if constexpr (std::is_same_v<Row, AttributeValueRow>) {
                const AttributeRow *known = find_attribute(row.number);
                entry.is_initial = known != nullptr && known->initial == row.value;
                entry.identifiers = entry.values.front().second;
            }
            while (seen.count(key) != 0)
                key += '\'';
            seen.emplace(std::move(key), std::move(entry));
        }
        return seen;
    }

private:
    template <class Row>
    void add(const Row &, std::string_view, const Origin &, std::string &, Seen &) const
    {}
    template <class Row, class T>
    void add(const Row &row, std::string_view column, const T &value, std::string &key,
             Seen &entry) const
    {
        if constexpr (std::is_same_v<T, uint32_t>) {
            if (is_identifier(column))
                entry.identifiers +=
                    fmt::format("{}{} {}", entry.identifiers.empty() ? "" : ", ", column, value);
            if (column == "peer_mac_id" || column == "mac_trap_id" || column == "ifmap_idx")
                return;
        }
        const std::string text = words(row, column, value);
        for (std::string_view keys = key_of<Row>; !keys.empty();) {
            if (column == next_name(keys)) {
                key += (key.empty() ? "" : " ") + text;
                return;
            }
        }
        entry.values.emplace_back(column, text);
    }

    static bool is_identifier(std::string_view column)
    {
        return column == "intf_id" || column == "lid_id" || column == "pc_id" ||
               column == "peer_mac_id" || column == "mac_trap_id" || column == "ifmap_idx";
    }

    template <class Row, class T>
    std::string words(const Row &, std::string_view, const T &value) const
    {
        if constexpr (std::is_same_v<T, bool>)
            return value ? "yes" : "no";
        else if constexpr (std::is_integral_v<T>)
            return fmt::to_string(value);
        else if constexpr (std::is_same_v<T, Mac>)
            return to_text(value);
        else
            return value;
    }
    template <class Row>
    std::string words(const Row &row, std::string_view column, uint32_t number) const
    {
        if (column == "ifindex")
            return index_.name(number);
        if (column == "intf_id")
            return intf(number);
        if (column == "lid_id")
            return owned("LID entry", number, index_.owner_of_lid(number));
        if (column == "pc_id")
            return channel(number);
        if constexpr (std::is_same_v<Row, AttributeValueRow>) {
            if (column == "number")
                return attribute_name(number);
            if (row.number == SdkIntfAttrLid)
                return owned("LID entry", number, index_.owner_of_lid(number));
        }
        if constexpr (std::is_same_v<Row, IntfRow>) {
            if (column == "param1" && row.type == sdk_sub_interface)
                return intf(number);
            if (column == "param1" && row.type == sdk_routed_port && row.param3 == 1)
                return channel(number);
        }
        (void)row;
        return fmt::to_string(number);
    }

    std::string intf(uint32_t intf_id) const
    {
        const HostRow *owner = index_.owner_of_intf(intf_id);
        std::string text = owned("SDK interface", intf_id, owner);
        if (owner != nullptr && owner->kept_intf == intf_id)
            text += " (kept)";
        return text;
    }
    std::string channel(uint32_t pc_id) const
    {
        return pc_id == 0 || pc_id == no_id
                   ? std::string("none")
                   : owned("port-channel", pc_id, index_.owner_of_port_channel(pc_id));
    }
    static std::string owned(const char *what, uint32_t id, const HostRow *owner)
    {
        return owner != nullptr ? owner->name : fmt::format("{} {}", what, id);
    }
    static std::string attribute_name(uint32_t number)
    {
        const AttributeRow *row = find_attribute(number);
        return row != nullptr ? row->name : fmt::to_string(number);
    }

    Index index_;
};

std::string identity(const Seen &seen)
{
    return seen.identifiers.empty() ? "present" : seen.identifiers;
}

void compare(const char *table, const Rows &a, const Rows &b, std::vector<Difference> &into)
{
    walk(a, b, [&](const std::string &object, const Seen *x, const Seen *y) {
        assert(x != nullptr || y != nullptr);
        if (x == nullptr || y == nullptr) {
            const Seen &only = x != nullptr ? *x : *y;
            if (only.is_initial)
                return;
            Difference &difference = into.emplace_back();
            difference.table = table;
            difference.object = object;
            (x != nullptr ? difference.a : difference.b) = identity(only);
            return;
        }
        for (size_t i = 0; i < x->values.size(); ++i) {
            const auto &[column, value] = x->values[i];
            const std::string &other = y->values[i].second;
            if (value != other)
                into.push_back({table, object, std::string(column), value, other});
        }
    });
}

} // namespace

std::vector<Difference> diff(const Snapshot &a, const Snapshot &b)
{
    const RowNames of_a(a), of_b(b);
    std::vector<Difference> differences;
    const auto compare_rows = [&](auto... tables) {
        (compare(std::decay_t<decltype(a.*tables)>::value_type::table, of_a.rows(a.*tables),
                 of_b.rows(b.*tables), differences),
         ...);
    };
    /* ASIC and shared database, in output order. */
    using S = Snapshot;
    compare_rows(&S::intfs, &S::attributes, &S::lids, &S::lid_paths, &S::port_channels, &S::members,
                 &S::router_macs, &S::traps, &S::pm, &S::pc, &S::l3lif, &S::label, &S::member_intf);
    return differences;
}

Listing show(const std::vector<Difference> &differences)
{
    return listing_of(
        "Differences", differences,
        {{"Table", rank_detail}, {"Object", rank_name}, {"What", rank_state}, {"A"}, {"B"}});
}

} // namespace kvnsim

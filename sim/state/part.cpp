/* A part of a saved snapshot: what concerns some interfaces. It begins with their names and takes
 * in whatever shares something with what is there already: parent, port-channel, members, SDK
 * interfaces at the same place, of the same number or made for them. Small tables, of which no row
 * is an interface's alone, are read as a whole. Then everything that the audit can find about these
 * interfaces is found in the part too; what it finds there about others means nothing.
 *
 * The rows of large tables are found by the order of their first columns or by an index; without
 * one, as in a database of an older kvnsim and in tables with a few rows for each port, SQLite
 * searches the table. */
#include <set>
#include <tuple>
#include <type_traits>

#include "sim/config/spellings.h"
#include "sim/state/interface_names.h"
#include "sim/state/restore.h"
#include "sim/state/snapshot_database.h"

namespace kvnsim {
namespace {

template <class Row> std::string_view first_column()
{
    std::string_view names = Row::column_names;
    return next_name(names);
}

/* Rows of one table, found one after another; each is read once. */
template <class Row> class FoundRows {
public:
    FoundRows(Database &db, Requests *requests)
        : db_(db), columns_(fmt::format("{}", fmt::join(column_names<Row>(), ", "))),
          requests_(requests)
    {}

    /* Those whose columns have these values; "name = ?". */
    template <class... Values>
    std::vector<const Row *> where(const char *condition, const Values &...values)
    {
        Statement &rows = statement(condition);
        rows.again();
        (rows.put(values), ...);
        return take(rows, [](const Row &) { return true; });
    }

    /* The first such row; nullptr without one. */
    template <class... Values>
    const Row *first_where(const char *condition, const Values &...values)
    {
        Statement &rows = statement(condition);
        rows.again();
        (rows.put(values), ...);
        const std::vector<const Row *> taken =
            take(rows, [count = 0](const Row &) mutable { return count++ == 0; });
        return taken.empty() ? nullptr : taken.front();
    }

    /* Those whose first column has one of these values, in rows sorted by it. */
    std::vector<const Row *> between(uint64_t first, uint64_t last)
    {
        const std::optional<int64_t> from = first_not_below(first);
        if (!from)
            return {};
        Statement &rows = statement("rowid >= ?");
        rows.again();
        rows.put(*from);
        return take(rows, [&](const Row &row) {
            const uint64_t key = std::get<0>(row.columns());
            return key >= first && key <= last;
        });
    }
    /* One whose first column has the value; nullptr without one. */
    const Row *find(uint64_t key)
    {
        if (const std::optional<int64_t> guess = likely_place(key)) {
            const std::vector<const Row *> rows = where("rowid = ?", *guess);
            if (!rows.empty() && std::get<0>(rows.front()->columns()) == key)
                return rows.front();
        }
        const std::vector<const Row *> rows = between(key, key);
        return rows.empty() ? nullptr : rows.front();
    }

    void move_to(std::vector<Row> &into)
    {
        for (auto &[id, row] : rows_)
            into.push_back(std::move(row));
    }

private:
    Statement &statement(const std::string &condition)
    {
        std::unique_ptr<Statement> &made = statements_[condition];
        if (made == nullptr) {
            if (statements_.size() == 1)
                db_.require_plain(Row::table);
            made = std::make_unique<Statement>(
                db_,
                fmt::format("SELECT rowid, {} FROM \"{}\" WHERE {} ORDER BY rowid", columns_,
                            Row::table, condition),
                Row::table, requests_);
        }
        return *made;
    }

    /* The rows as long as they are such. */
    template <class Such> std::vector<const Row *> take(Statement &rows, Such such)
    {
        std::vector<const Row *> taken;
        while (rows.step()) {
            int64_t id = 0;
            rows.get(id);
            auto at = rows_.find(id);
            if (at == rows_.end()) {
                Row row;
                rows.get_row(row);
                if (!such(row))
                    break;
                at = rows_.emplace(id, std::move(row)).first;
            } else if (!such(at->second)) {
                break;
            }
            taken.push_back(&at->second);
        }
        return taken;
    }

    /* The row with the smallest rowid whose first column is not below the value. */
    std::optional<int64_t> first_not_below(uint64_t value)
    {
        if (probe_ == nullptr)
            find_ends();
        if (low_ > high_)
            return {};
        int64_t low = low_, high = high_;
        /* Most tables have a row for nearly each number: it is a little before its likely place. */
        if (std::optional<int64_t> place = likely_place(value)) {
            for (uint64_t back = 1; probe(*place).second >= value; back *= 2) {
                high = *place;
                const uint64_t left = static_cast<uint64_t>(high) - static_cast<uint64_t>(low);
                if (left == 0)
                    break;
                place = static_cast<int64_t>(static_cast<uint64_t>(high) - std::min(back, left));
            }
            low = *place;
        }
        std::optional<int64_t> found;
        while (low <= high) {
            const auto half = (static_cast<uint64_t>(high) - static_cast<uint64_t>(low)) / 2;
            const auto middle = static_cast<int64_t>(static_cast<uint64_t>(low) + half);
            const auto [id, key] = probe(middle);
            if (key >= value) {
                found = id;
                if (middle == low)
                    break;
                high = middle - 1;
            } else if (id >= high) {
                break;
            } else {
                low = id + 1;
            }
        }
        return found;
    }

    /* Where the value is in a table that has a row for each number, as most do. */
    std::optional<int64_t> likely_place(uint64_t value)
    {
        if (probe_ == nullptr)
            find_ends();
        const auto rows = static_cast<uint64_t>(high_) - static_cast<uint64_t>(low_);
        if (low_ > high_ || value < lowest_ || value - lowest_ > rows)
            return {};
        return static_cast<int64_t>(static_cast<uint64_t>(low_) + value - lowest_);
    }

    void find_ends()
    {
        statement("rowid >= ?");
        const auto select = [&](std::string_view order) {
            return fmt::format("SELECT rowid, \"{}\" FROM \"{}\" {} LIMIT 1", first_column<Row>(),
                               Row::table, order);
        };
        probe_ =
            std::make_unique<Statement>(db_, select("WHERE rowid >= ? ORDER BY rowid"), Row::table);
        Statement first(db_, select("ORDER BY rowid"), Row::table),
            last(db_, select("ORDER BY rowid DESC"), Row::table);
        if (first.step() && last.step()) {
            first.get(low_);
            first.get(lowest_);
            last.get(high_);
        }
    }

    /* The first row from there on, and its first column. */
    std::pair<int64_t, uint64_t> probe(int64_t from)
    {
        std::pair<int64_t, uint64_t> found{INT64_MAX, UINT64_MAX};
        probe_->again();
        probe_->put(from);
        if (probe_->step()) {
            probe_->get(found.first);
            probe_->get(found.second);
        }
        return found;
    }

    Database &db_;
    const std::string columns_;
    Requests *requests_;
    std::map<std::string, std::unique_ptr<Statement>> statements_; /* by their conditions */
    std::unique_ptr<Statement> probe_;
    int64_t low_ = 1, high_ = 0; /* the first and the last rowid */
    uint64_t lowest_ = 0;        /* the first row's first column */
    std::map<int64_t, Row> rows_;
};

/* Reads a request when a row names it. */
class FoundRequests : public Requests {
public:
    explicit FoundRequests(Database &db) : rows_(db, nullptr) {}

    RequestRef find(uint64_t number) override
    {
        if (number == 0)
            return nullptr;
        RequestRef known = Requests::find(number);
        if (known == nullptr) {
            if (const Request *row = rows_.find(number))
                add(*row);
            known = Requests::find(number);
        }
        return known;
    }
    /* The numbers of those that concern the interface. */
    std::vector<uint64_t> about(const std::string &name)
    {
        std::vector<uint64_t> numbers;
        for (const Request *row : rows_.where("subject = ?", name))
            numbers.push_back(row->number);
        return numbers;
    }

private:
    FoundRows<Request> rows_;
};

template <class Row> std::vector<Row> &rows_of(Snapshot &snapshot)
{
    std::vector<Row> *found = nullptr;
    Snapshot::tables([&](auto rows) {
        if constexpr (std::is_same_v<decltype(rows), std::vector<Row> Snapshot::*>)
            found = &(snapshot.*rows);
    });
    return *found;
}

/* Large tables, of which some rows are read. */
template <class... Row> class Tables {
public:
    Tables(Database &db, Requests &requests) : tables_(FoundRows<Row>(db, &requests)...) {}

    template <class One> FoundRows<One> &of() { return std::get<FoundRows<One>>(tables_); }
    void move_to(Snapshot &into) { (of<Row>().move_to(rows_of<Row>(into)), ...); }

private:
    std::tuple<FoundRows<Row>...> tables_;
};

class Part {
public:
    explicit Part(Database &db) : db_(db), requests_(db), tables_(db, requests_)
    {
        part_.meta = get_meta(db);
        read_all<FileRow, Finding, WantedPort, WantedMember, WantedRouterMac, AppliedRouterMac,
                 VrfNumber, OwnedRouterMac, RouterMacRow, PendingRow, FailureRow>();
        constexpr uint32_t first = ifindex_of(InterfaceKind::port, 0),
                           behind = ifindex_of(InterfaceKind::svi, 0);
        ports_and_channels_ = tables_.of<HostRow>().between(first, behind - 1);
        channel_contexts_ = tables_.of<ContextRow>().between(
            ifindex_of(InterfaceKind::port_channel, 0), behind - 1);
        for (const WantedMember &member : part_.wanted_members)
            wanted(member.port_channel);
        for (const PendingRow &write : part_.pending)
            add_intf(write.intf_id);
    }

    /* The interface meant; empty where that is not clear. */
    std::string meant(const std::string &written)
    {
        if (is_there(written))
            return written;
        Spellings names = interface_names(part_);
        for (const HostRow *row : ports_and_channels_)
            names.add(row->name);
        for (const std::string &name : names_of_key(interface_key(written))) {
            if (is_there(name))
                names.add(name);
        }
        Meant meant = names.meant(written, "");
        return meant.problem.empty() ? std::move(meant.name) : std::string();
    }

    void add(const std::string &interface)
    {
        const bool is_member =
            !tables_.of<WantedVlanMember>().where("member = ?", interface).empty();
        if (is_member || !tables_.of<WantedVlanMember>().where("vlan = ?", interface).empty())
            tables_.of<WantedVlan>().where("1");
        vlan(interface);
        to_add_.push_back(interface);
        while (!to_add_.empty()) {
            const std::string name = std::move(to_add_.back());
            to_add_.pop_back();
            if (added_.insert(name).second)
                add_named(name);
        }
    }

    /* What a frame meets that arrives for the interfaces added. */
    void add(const FrameKey &frame)
    {
        vlans_.insert(frame.vlan);
        const std::set<uint32_t> arrives_at = intfs_;
        for (const uint32_t vlan : vlans_) {
            add_place("type = ? AND param1 = ?", uint32_t{sdk_svi}, vlan);
            for (const uint32_t intf_id : arrives_at)
                add_place("type = ? AND param1 = ? AND param2 = ?", uint32_t{sdk_sub_interface},
                          intf_id, vlan);
        }
        const TrapRow *const trap =
            frame.to ? tables_.of<TrapRow>().first_where("mac = ?", *frame.to) : nullptr;
        if (trap != nullptr)
            read_claims(trap->intf_id);
    }

    Snapshot finish()
    {
        tables_.move_to(part_);
        return std::move(part_);
    }

private:
    template <class... Row> void read_all()
    {
        ((rows_of<Row>(part_) = get_rows<Row>(db_, &requests_)), ...);
    }

    bool is_there(const std::string &name)
    {
        return !wanted(name).empty() || !host(name).empty() || !vlan(name).empty();
    }
    std::vector<const WantedInterface *> wanted(const std::string &name)
    {
        return tables_.of<WantedInterface>().where("name = ?", name);
    }
    std::vector<const HostRow *> host(const std::string &name)
    {
        return tables_.of<HostRow>().where("name = ?", name);
    }
    const HostRow *host(uint32_t ifindex) { return tables_.of<HostRow>().find(ifindex); }
    std::vector<const WantedVlan *> vlan(const std::string &name)
    {
        return tables_.of<WantedVlan>().where("name = ?", name);
    }

    void add_named(const std::string &name)
    {
        for (const WantedInterface *row : wanted(name)) {
            if (!row->parent.empty())
                to_add_.push_back(row->parent);
        }
        for (const WantedMember &member : part_.wanted_members) {
            if (member.port == name)
                to_add_.push_back(member.port_channel);
            if (member.port_channel == name)
                to_add_.push_back(member.port);
        }
        for (const HostRow *row : host(name))
            add_host(*row);
        tables_.of<WantedVirtualMac>().where("interface = ?", name);
        for (const uint64_t number : requests_.about(name)) {
            add_place("made_request = ?", number);
            for (const TrapRow *trap : tables_.of<TrapRow>().where("made_request = ?", number))
                add_trap(trap->mac_trap_id);
            for (const LidRow *lid : tables_.of<LidRow>().where("made_request = ?", number))
                add_lid(lid->lid_id);
            for (const PortChannelRow *made :
                 tables_.of<PortChannelRow>().where("made_request = ?", number))
                add_port_channel(made->pc_id);
        }
    }

    void add_host(const HostRow &row)
    {
        if (const ContextRow *context = tables_.of<ContextRow>().find(row.ifindex)) {
            add_intf(context->intf_id);
            add_lid(context->lid_id);
            if (row.kind == InterfaceKind::port_channel)
                add_port_channel(context->pc_id);
        }
        if (row.kept_intf)
            add_intf(*row.kept_intf);
        if (row.held_pc)
            add_port_channel(*row.held_pc);
        for (const std::optional<uint32_t> &lid : {row.port_lid, row.held_lid}) {
            if (lid)
                add_lid(*lid);
        }
        tables_.of<PmRow>().where("ifindex = ?", row.ifindex);
        tables_.of<PcRow>().where("ifindex = ?", row.ifindex);
        tables_.of<MemberIntfRow>().where("ifindex = ?", row.ifindex);
        tables_.of<L3lifRow>().find(row.ifindex);
        tables_.of<LabelRow>().find(row.ifindex);
        for (const FhrpRow *entry : tables_.of<FhrpRow>().between(row.ifindex, row.ifindex))
            add_trap(entry->mac_trap_id);
        for (const std::optional<uint32_t> &other : {row.parent, row.channel}) {
            if (const HostRow *named = other ? host(*other) : nullptr)
                to_add_.push_back(named->name);
        }
        if (row.vlan != 0)
            vlans_.insert(row.vlan);
        if (row.kind == InterfaceKind::port)
            add_front_port(row.number + 1);
        for (const HostRow *member : ports_and_channels_) {
            if (member->channel == row.ifindex)
                to_add_.push_back(member->name);
        }
    }

    void add_front_port(uint32_t front_port)
    {
        add_place("type = ? AND param1 = ?", uint32_t{sdk_routed_port}, front_port);
        for (const MemberRow *member : tables_.of<MemberRow>().where("front_port = ?", front_port))
            add_port_channel(member->pc_id);
    }

    void add_port_channel(uint32_t pc_id)
    {
        if (pc_id == no_id || !port_channels_.insert(pc_id).second)
            return;
        tables_.of<PortChannelRow>().where("pc_id = ?", pc_id);
        add_place("type = ? AND param1 = ?", uint32_t{sdk_routed_port}, pc_id);
        for (const ContextRow *context : channel_contexts_) {
            if (context->pc_id == pc_id)
                add_owner(context->ifindex);
        }
        std::set<uint32_t> joined;
        for (const MemberRow *member : tables_.of<MemberRow>().where("pc_id = ?", pc_id))
            joined.insert(member->front_port);
        for (const HostRow *row : ports_and_channels_) {
            if (row->held_pc == pc_id ||
                (row->kind == InterfaceKind::port && joined.count(row->number + 1) != 0))
                to_add_.push_back(row->name);
        }
    }

    void add_owner(uint32_t ifindex)
    {
        if (const HostRow *owner = host(ifindex))
            to_add_.push_back(owner->name);
    }

    /* Those that were created there, or by that request. */
    template <class... Values> void add_place(const char *condition, const Values &...values)
    {
        for (const IntfRow *row : tables_.of<IntfRow>().where(condition, values...))
            add_intf(row->intf_id);
    }

    void add_intf(uint32_t id)
    {
        if (id == no_id || !intfs_.insert(id).second)
            return;
        read_claims(id);
        for (const AttributeValueRow *row : tables_.of<AttributeValueRow>().between(id, id)) {
            if (row->number == SdkIntfAttrLid)
                add_lid(row->value);
        }
        for (const TrapRow *trap : tables_.of<TrapRow>().where("intf_id = ?", id))
            add_trap(trap->mac_trap_id);
        const IntfRow *const row = tables_.of<IntfRow>().find(id);
        if (row != nullptr && row->type == sdk_sub_interface)
            read_claims(row->param1);
    }

    /* Whose records name the SDK interface. */
    void read_claims(uint32_t intf_id)
    {
        for (const ContextRow *claim : tables_.of<ContextRow>().where("intf_id = ?", intf_id))
            host(claim->ifindex);
    }

    void add_lid(uint32_t id)
    {
        if (!lids_.insert(id).second)
            return;
        tables_.of<LidRow>().where("lid_id = ?", id);
        for (const LidPathRow *path : tables_.of<LidPathRow>().where("lid_id = ?", id))
            tables_.of<PortChannelRow>().where("pc_id = ?", path->pc_id);
    }

    void add_trap(uint32_t id)
    {
        tables_.of<TrapRow>().find(id);
        for (const FhrpRow *entry : tables_.of<FhrpRow>().where("mac_trap_id = ?", id))
            host(entry->ifindex);
    }

    Database &db_;
    FoundRequests requests_;
    Tables<WantedInterface, WantedVlan, WantedVlanMember, WantedVirtualMac, HostRow, ContextRow,
           FhrpRow, IntfRow, AttributeValueRow, LidRow, LidPathRow, PortChannelRow, MemberRow,
           TrapRow, PmRow, PcRow, L3lifRow, LabelRow, MemberIntfRow>
        tables_;
    Snapshot part_;
    std::vector<const HostRow *> ports_and_channels_;
    std::vector<const ContextRow *> channel_contexts_;
    std::vector<std::string> to_add_;
    std::set<std::string> added_;
    std::set<uint32_t> intfs_, lids_, port_channels_, vlans_;
};

} // namespace

std::optional<SnapshotPart>
load_about(const std::string &path, const std::vector<std::string> &written, const FrameKey &frame)
{
    try {
        const std::unique_ptr<Database> db = open_snapshot(path);
        db->run("BEGIN"); /* otherwise each look-up locks the file and unlocks it */
        Part part(*db);
        SnapshotPart loaded;
        for (const std::string &word : written) {
            const std::string &name = loaded.names.emplace_back(part.meant(word));
            if (name.empty())
                return {};
            part.add(name);
        }
        part.add(frame);
        loaded.snapshot = part.finish();
        check_references(loaded.snapshot, path);
        return loaded;
    } catch (const SnapshotError &) {
        return {};
    }
}

} // namespace kvnsim

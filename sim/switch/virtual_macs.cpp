/* The table's hash function is the library's own, so an entry is added by the library's entry
 * point: on an interface that stands in for the real one, with the trap's identifier as the SDK's
 * answer, while nobody observes. */
#include "sim/switch/virtual_macs.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <string_view>
#include <tuple>

#include "l3lifpd_kavelin.h"
#include "sim/fwm/diagnostics.h"
#include "sim/fwm/host.h"
#include "sim/journal/journal.h"

namespace kvnsim {
namespace {

/* The library's record of one virtual MAC: both key and value of its table. */
struct FhrpEntry {
    uint32_t ifindex;
    uint8_t mac[6];
    uint8_t pad[2];
    uint32_t mac_trap_id;
};
static_assert(sizeof(FhrpEntry) == 16, "entry of the table of virtual MACs");

/* Calls visit with each entry's memory. */
template <class Visit> void each_entry(const Visit &visit)
{
    if (fhrp_mac_hash == nullptr)
        return;
    GHashTableIter entries;
    void *entry;
    g_hash_table_iter_init(&entries, fhrp_mac_hash);
    while (g_hash_table_iter_next(&entries, nullptr, &entry))
        visit(entry);
}

/* The trap has been created already. */
class TrapIsThere : public Answers {
public:
    explicit TrapIsThere(uint32_t mac_trap_id) : mac_trap_id_(mac_trap_id) {}
    std::optional<int64_t> answer(const ImportedCall &call,
                                  std::initializer_list<Argument> arguments, bool) override
    {
        if (std::string_view(call.name()) != "libsdk_intf_router_mac_trap_create")
            return std::nullopt;
        for (const Argument &argument : arguments) {
            if (argument.is_output)
                argument.codec->write(argument.data, Value::integer(mac_trap_id_));
        }
        return 0;
    }

private:
    const uint32_t mac_trap_id_;
};

} // namespace

std::vector<FhrpRow> library_virtual_macs()
{
    std::vector<FhrpRow> rows;
    each_entry([&](const void *memory) {
        FhrpEntry entry;
        std::memcpy(&entry, memory, sizeof entry);
        FhrpRow &row = rows.emplace_back();
        row.ifindex = entry.ifindex;
        std::copy(std::begin(entry.mac), std::end(entry.mac), row.mac.begin());
        row.mac_trap_id = entry.mac_trap_id;
    });
    std::sort(rows.begin(), rows.end(), [](const FhrpRow &a, const FhrpRow &b) {
        return std::tie(a.ifindex, a.mac) < std::tie(b.ifindex, b.mac);
    });
    return rows;
}

void forget_virtual_macs()
{
    if (fhrp_mac_hash == nullptr)
        return;
    each_entry([](void *memory) { std::free(memory); });
    g_hash_table_destroy(fhrp_mac_hash);
    fhrp_mac_hash = nullptr;
}

bool put_back_virtual_mac(const FhrpRow &entry)
{
    const auto count = [] { return fhrp_mac_hash ? g_hash_table_size(fhrp_mac_hash) : 0; };
    const auto before = count();
    TrapIsThere trap(entry.mac_trap_id);
    const UnseenScope unseen(trap);
    const MutedScope muted;
    return Host::instance().with_stand_in(entry.ifindex, [&] {
        l3lifpd_kvn_fhrp_mac_add(entry.mac.data(), entry.ifindex);
    }) && count() == before + 1;
}

} // namespace kvnsim

#include "tests/lib/bench.h"

#include <cstdlib>

namespace kvntest {

Bench::Bench()
{
    install(this);
}

Bench::~Bench()
{
    if (!settled())
        violation("a record never reached its last sink");
    install(nullptr);
    for (auto &lif : owned_) {
        if (lif->pd_ctxt)
            free(lif->pd_ctxt->l3_pd);
        free(lif->pd_ctxt);
    }
    if (fhrp_mac_hash) {
        g_hash_table_foreach(
            fhrp_mac_hash, [](gpointer, gpointer entry, gpointer) { free(entry); }, nullptr);
        g_hash_table_destroy(fhrp_mac_hash);
        fhrp_mac_hash = nullptr;
    }
}

Interface &Bench::add(uint32_t ifindex, Kind kind, uint32_t number)
{
    owned_.push_back(std::make_unique<Interface>());
    Interface &lif = *owned_.back();
    lif.ifindex = ifindex;
    lif.kind = kind;
    lif.number = number;
    interfaces[ifindex] = &lif;
    return lif;
}

Interface &Bench::routed_port(uint32_t port)
{
    return add(0x10000 + port, Kind::port, port);
}

Interface &Bench::port_channel(uint32_t channel, uint32_t member_count)
{
    Interface &lif = add(0x2000000 + channel, Kind::channel, channel);
    lif.membership.member_count = member_count;
    lif.pc_membership = &lif.membership;
    return lif;
}

Interface &Bench::member(uint32_t port, Interface &channel)
{
    Interface &lif = routed_port(port);
    lif.main_l3lif = &channel;
    return lif;
}

Interface &Bench::sub_interface(Interface &parent, uint32_t vlan)
{
    Interface &lif = add((parent.ifindex << 4) + vlan, Kind::sub_interface, vlan);
    lif.parent = parent.ifindex;
    if (parent.kind == Kind::port)
        lif.main_l3lif = &parent;
    return lif;
}

Interface &Bench::svi(uint32_t vlan)
{
    return add(0x30000 + vlan, Kind::svi, vlan);
}

void Bench::give_context(Interface &lif, uint32_t intf_id, uint32_t lid_id, uint32_t pc_id)
{
    if (!lif.pd_ctxt) {
        lif.pd_ctxt = static_cast<l3pd_holder *>(calloc(1, sizeof(l3pd_holder)));
        lif.pd_ctxt->l3_pd = static_cast<l3_pd *>(calloc(1, sizeof(l3_pd)));
    }
    lif.pd().intf_id = static_cast<uint16_t>(intf_id);
    lif.pd().lid_id = lid_id;
    lif.pd().pc_id = pc_id;
}

void Bench::give_ip(Interface &lif, uint32_t ucst, uint32_t mcst, uint16_t mtu, uint32_t same_if)
{
    lif.ip = {ucst, mcst, mtu, same_if};
    lif.ip_cfg = &lif.ip;
}

testing::AssertionResult Bench::did(const Steps &expected)
{
    const Journal got = journal;
    forget();
    return same_journal(got, expected);
}

testing::AssertionResult Bench::asked(const Steps &expected)
{
    const Journal got = queries;
    forget();
    return same_journal(got, expected);
}

testing::AssertionResult Bench::sinks_saw(const Steps &expected)
{
    sync_file();
    const Journal got = sink_calls;
    forget();
    return same_journal(got, expected);
}

testing::AssertionResult same_journal(const Journal &got, const Journal &expected)
{
    size_t at = 0;
    while (at < got.size() && at < expected.size() && got[at] == expected[at])
        ++at;
    if (at == got.size() && at == expected.size())
        return testing::AssertionSuccess();

    auto result = testing::AssertionFailure();
    result << "the journal departs at line " << at + 1 << "\n";
    for (size_t i = at < 3 ? 0 : at - 3; i < at; ++i)
        result << "      " << got[i] << "\n";
    for (size_t i = at; i < at + 4; ++i)
        result << "  got " << (i < got.size() ? got[i] : "(end)") << "\n";
    for (size_t i = at; i < at + 4; ++i)
        result << " want " << (i < expected.size() ? expected[i] : "(end)") << "\n";
    return result;
}

testing::AssertionResult holds(const l3_pd &pd, uint32_t intf_id, uint32_t lid_id, uint32_t pc_id)
{
    if (pd.intf_id == intf_id && pd.lid_id == lid_id && pd.pc_id == pc_id)
        return testing::AssertionSuccess();
    return testing::AssertionFailure()
           << "the record holds intf_id " << pd.intf_id << ", lid_id " << pd.lid_id << ", pc_id "
           << pd.pc_id << ", not " << intf_id << ", " << lid_id << ", " << pc_id;
}

bool aborts(const std::function<void()> &function)
{
    std::jmp_buf back;
    platform().on_abort = &back;
    if (setjmp(back) == 0) {
        function();
        platform().on_abort = nullptr;
        return false;
    }
    platform().on_abort = nullptr;
    return true;
}

} // namespace kvntest

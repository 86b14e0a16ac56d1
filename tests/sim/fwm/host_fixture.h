#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>
#include <string>

#include "l3lifpd_kavelin.h"
#include "platform_api/if_index.h"
#include "platform_api/l3lif.h"
#include "platform_api/libsdk.h"
#include "platform_api/sdwrap.h"
#include "sim/fwm/diagnostics.h"
#include "sim/fwm/host.h"
#include "sim/journal/journal.h"
#include "sim/sdk/asic.h"
#include "tests/sim/files.h"

namespace kvnsim {

/* A host just powered on, without the library: no interfaces, an empty ASIC, diagnostics as at the
 * start. */
class HostFixture : public testing::Test {
protected:
    HostFixture() { power_on(); }
    ~HostFixture() override { power_on(); }

    HostInterface &port(uint32_t number)
    {
        return *host.add_port("Ethernet" + std::to_string(number), number);
    }
    HostInterface &routed_port(uint32_t number)
    {
        HostInterface &made = port(number);
        host.register_l3(made);
        return made;
    }
    HostInterface &port_channel(uint32_t number)
    {
        HostInterface &made =
            *host.add_port_channel("PortChannel" + std::to_string(number), number);
        host.register_l3(made);
        return made;
    }
    /* The context that the library would hang on the interface. */
    l3_pd &give_context(HostInterface &interface, uint16_t intf_id)
    {
        interface.pd_ctxt = static_cast<l3pd_holder *>(std::calloc(1, sizeof(l3pd_holder)));
        interface.pd_ctxt->l3_pd = static_cast<l3_pd *>(std::calloc(1, sizeof(l3_pd)));
        interface.pd_ctxt->l3_pd->intf_id = intf_id;
        return *interface.pd_ctxt->l3_pd;
    }
    /* Every call of this name fails from now on. */
    void fail(const std::string &call) { ASSERT_EQ(journal.faults.add(call), ""); }
    void begin_request(const char *entry, const char *subject = "", const char *cause = "")
    {
        auto request = std::make_shared<Request>();
        request->entry = entry;
        request->subject = subject;
        const CauseScope because(cause);
        journal.begin(request);
    }

    Host &host = Host::instance();
    Asic &asic = Asic::instance();
    Journal &journal = Journal::instance();
    Diagnostics &diagnostics = Diagnostics::instance();

private:
    void power_on()
    {
        host.reset();
        asic.reset();
        journal.reset();
        diagnostics.reset();
    }
};

} // namespace kvnsim

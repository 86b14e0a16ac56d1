#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "sim/config/configuration.h"
#include "sim/fwm/diagnostics.h"
#include "sim/journal/journal.h"
#include "sim/sdk/asic.h"
#include "sim/switch/choreography.h"
#include "sim/switch/switch.h"

namespace kvnsim {

/* What a configuration wants; the test fails when it has errors. */
inline Desired wanted(const std::string &json, const std::string &file = "test.json")
{
    const Configuration configuration = read_configuration(file, json);
    for (const Finding &finding : configuration.findings) {
        if (finding.severity == Finding::Severity::error)
            ADD_FAILURE() << finding.to_text();
    }
    return configuration.desired;
}

/* Twelve ports, and the tables of the rest. */
inline Desired with_ports(const std::string &tables)
{
    std::string ports;
    for (int number = 0; number < 12; ++number)
        ports += std::string(number != 0 ? ", " : "") + "\"Ethernet" + std::to_string(number * 4) +
                 "\": {}";
    return wanted("{\"PORT\": {" + ports + "}" + (tables.empty() ? "" : ", ") + tables + "}");
}

inline std::vector<std::string> words(const Plan &plan)
{
    std::vector<std::string> all;
    for (const Step &step : plan.steps)
        all.push_back(step.words());
    return all;
}

/* What is asked of the library from now on, and the calls that it makes. */
class RequestWatcher : public Observer {
public:
    std::vector<std::string> made;  /* "l3lifpd_kvn_add_l3port(l3lif=Ethernet0 create=1)" */
    std::vector<std::string> calls; /* names of the calls, in order */

    void request_begins(const Request &request) override
    {
        made.push_back(std::string(request.entry) + "(" + request.arguments.to_text() + ")");
    }
    void call_made(const Call &call) override { calls.push_back(call.what->name()); }
};

/* A switch just powered on, and what its ASIC holds. */
class SwitchFixture : public testing::Test {
protected:
    Switch sw;

    SwitchFixture() { Diagnostics::instance().reset(); }
    ~SwitchFixture() override
    {
        const Switch off;
        Diagnostics::instance().reset();
    }

    void bring_about(const Desired &want)
    {
        const Applied applied = sw.apply(want);
        for (const Failure &failure : applied.failures)
            ADD_FAILURE() << failure.step.words() << ": " << failure.message;
    }

    /* This call fails from now on: "libsdk_intf_create:1=SDK_E_FULL" once, the next time. */
    static void fail(const std::string &call)
    {
        EXPECT_EQ(Journal::instance().faults.add(call), "");
    }

    static uint32_t used(const std::string &table)
    {
        for (const TableUse &use : Asic::instance().rows<TableUse>()) {
            if (table == use.name)
                return use.used;
        }
        ADD_FAILURE() << "no table " << table;
        return 0;
    }

    static void expect_empty_asic()
    {
        for (const TableUse &use : Asic::instance().rows<TableUse>())
            EXPECT_EQ(use.used, 0U) << use.description;
    }

    static HostInterface &interface(const std::string &name)
    {
        HostInterface *found = Host::instance().find(name);
        if (found == nullptr)
            throw std::runtime_error("no interface " + name);
        return *found;
    }

    /* An attribute's value in the ASIC; -1 when it was never written. */
    static int64_t attribute(const std::string &name, uint32_t number)
    {
        const AttributeValueRow *value =
            Asic::instance().find_attribute(interface(name).intf_id(), number);
        return value != nullptr ? int64_t{value->value} : -1;
    }
};

} // namespace kvnsim

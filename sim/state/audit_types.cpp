/* The codes of the audit's findings, with cause and cure: the audit and the documents use the same
 * rows. */
#include <algorithm>

#include <fmt/format.h>

#include "sim/state/audit.h"

namespace kvnsim {

const std::vector<AuditType> &audit_types()
{
    using Id = AuditId;
    using Kind = AuditKind;
    constexpr const char *recreate =
        "Remove the interface from the configuration and add it again.";
    constexpr const char *restart = "Restart the ASIC; until then a row of its table is lost.";
    constexpr const char *again = "Apply the configuration again.";
    static const std::vector<AuditType> types = {
        {Id::orphan_interface, Kind::orphan,
         "An SDK interface has no owner: its creation failed half way, or its deletion was "
         "refused.",
         restart},
        {Id::orphan_lid, Kind::orphan,
         "A LID entry has no owner: the port or port-channel that it was made for failed.",
         restart},
        {Id::orphan_port_channel, Kind::orphan,
         "An SDK port-channel has no owner: it could not be destroyed with its last member.",
         restart},
        {Id::orphan_router_mac, Kind::orphan, "A router MAC in the ASIC is not the switch's.",
         restart},
        {Id::orphan_trap, Kind::orphan, "A MAC trap in the ASIC is for no virtual MAC.", restart},

        {Id::gone_object_recorded, Kind::dangling,
         "Host or library record an object that is no longer in the ASIC.", recreate},
        {Id::parent_gone, Kind::dangling, "A sub-interface was created on a parent that failed.",
         "Remove the parent from the configuration and add it again."},
        {Id::bound_to_gone_lid, Kind::dangling,
         "An SDK interface is bound to a LID entry that is "
         "gone.",
         recreate},
        {Id::path_to_gone_channel, Kind::dangling,
         "A LID entry leads to a port-channel that is gone.", recreate},
        {Id::write_for_gone_interface, Kind::dangling,
         "A queued write is for an SDK interface that is gone: the flush will write it to nothing, "
         "or to the next interface of that number.",
         "Flush, then check that interface."},
        {Id::router_mac_gone, Kind::dangling, "The switch's router MAC is gone from the ASIC.",
         "Remove the router MAC and add it again."},
        {Id::trap_gone, Kind::dangling, "A virtual MAC is recorded with a MAC trap that is gone.",
         "Remove the virtual MAC and add it again."},
        {Id::virtual_mac_without_interface, Kind::dangling,
         "A virtual MAC is recorded for an interface that is not in the ASIC.",
         "Remove the virtual MAC and add it again."},
        {Id::row_of_gone_interface, Kind::dangling,
         "The shared database has a row of an interface that the host no longer has.", recreate},

        {Id::property_differs, Kind::difference,
         "Configuration, library, ASIC and shared database do not agree about a property: a write "
         "failed, or came from elsewhere.",
         again},
        {Id::recorded_lid_differs, Kind::difference,
         "The library recorded another LID entry than that of the port or parent.", recreate},
        {Id::claimed_twice, Kind::difference, "Two interfaces record the same object.", recreate},
        {Id::interface_elsewhere, Kind::difference,
         "The recorded SDK interface is on another port, port-channel or VLAN.", recreate},
        {Id::lid_elsewhere, Kind::difference, "A LID entry leads nowhere, or elsewhere.", recreate},
        {Id::router_mac_differs, Kind::difference, "The router MAC is not the one configured.",
         again},
        {Id::trap_differs, Kind::difference,
         "A virtual MAC's trap is on another interface, or for another MAC.",
         "Remove the virtual MAC and add it again."},
        {Id::label_without_interface, Kind::difference,
         "The L3 label is set up, but the interface is not in the ASIC.", again},

        {Id::object_missing, Kind::missing,
         "Something is configured and not in the ASIC: the request that makes it failed.",
         "Apply the configuration again; if an orphan is in the way, remove the interface and add "
         "it again."},
        {Id::row_missing, Kind::missing, "The shared database lacks a row of an interface.", again},

        {Id::interface_unwanted, Kind::unwanted,
         "An interface is no longer configured, but still there: its deletion failed.", again},
        {Id::member_unwanted, Kind::unwanted,
         "A port is a member of a port-channel in the ASIC, but not configured as one.", again},
        {Id::router_mac_unwanted, Kind::unwanted, "A router MAC is there that is not configured.",
         again},
        {Id::virtual_mac_unwanted, Kind::unwanted, "A virtual MAC is there that is not configured.",
         again},
        {Id::row_unwanted, Kind::unwanted,
         "The shared database has a row of an interface that is no L3 interface.", again},
    };
    return types;
}

std::string AuditType::code() const
{
    return fmt::format("KVN-A{:03}", static_cast<unsigned>(id));
}

const AuditType &type_of(AuditId id)
{
    const std::vector<AuditType> &types = audit_types();
    return *std::lower_bound(types.begin(), types.end(), id,
                             [](const AuditType &type, AuditId other) { return type.id < other; });
}

} // namespace kvnsim

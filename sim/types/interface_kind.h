#pragma once

#include <cstddef>
#include <cstdint>

namespace kvnsim {

/* The kinds of interface, in the order of the upper four bits of their interface indexes. */
enum class InterfaceKind : uint8_t { port, port_channel, svi, sub_interface };

constexpr const char *interface_kind_names[] = {"port", "port-channel", "SVI", "sub-interface"};

inline const char *to_text(InterfaceKind kind)
{
    return interface_kind_names[static_cast<size_t>(kind)];
}

} // namespace kvnsim

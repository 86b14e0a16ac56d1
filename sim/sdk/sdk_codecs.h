#pragma once

#include "platform_api/libsdk.h"
#include "sim/journal/imported_call.h"

/* How the SDK's own records and words are shown and recorded. */
/* {port_type=SdkPortTypeChannel front_port=0 pc_id=3} */
kvnsim::Value to_value(const sdk_lid_path &path);
/* {mask_len=32 front_ports="1 5"} */
kvnsim::Value to_value(const sdk_port_mask &mask);

namespace kvnsim {

/* Records of words: the first word always, the others unless they are 0. */
template <> const Codec &codec<sdk_intf_create_params>();
template <> const Codec &codec<sdk_intf_attr_value>();
template <> const Codec &codec<sdk_switch_config>();

/* An attribute number, by its name. */
const Codec &attribute_codec();
/* The words of a MAC address, by their bytes: "00:00:5e:00" and "01:0a". */
const Codec &mac_lo_codec();
const Codec &mac_hi_codec();

} // namespace kvnsim

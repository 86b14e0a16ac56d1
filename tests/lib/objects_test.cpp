/* The exported data objects, before any function of the library was called. */
#include <algorithm>

#include <gtest/gtest.h>

#include "l3lifpd_kavelin.h"

namespace {

template <typename Object> bool is_zero(const Object &object)
{
    const auto *bytes = reinterpret_cast<const unsigned char *>(&object);
    return std::all_of(bytes, bytes + sizeof object, [](unsigned char byte) { return byte == 0; });
}

TEST(DataObjects, AreZeroWhenTheLibraryIsLoaded)
{
    EXPECT_EQ(nullptr, fhrp_mac_hash);
    EXPECT_TRUE(is_zero(l3lifpd_dump_one_line));
    EXPECT_TRUE(is_zero(g_pm_store));
    EXPECT_TRUE(is_zero(g_pc_store));
    EXPECT_TRUE(is_zero(l3lif_bd_idx_list));
    EXPECT_TRUE(is_zero(assoc_mgr_sdb_uri));
    for (const uint32_t *word :
         {&ddb_mtsops_ix_t, &fwm_fwim_lc_tree, &fwm_fwim_pc_hash_select_t,
          &fwm_l2mp_non_vpc_edge_port_list, &fwm_ethernet_end_host_mode_enabled,
          &eem_lib_map_hash_to_string, &fwm_fwim_pvlan_mode_t})
        EXPECT_EQ(0u, *word);
}

TEST(DataObjects, HaveTheSizesThatTheForwardingManagerUses)
{
    static_assert(sizeof l3lifpd_dump_one_line == 256);
    static_assert(sizeof g_pm_store == 260 && sizeof g_pc_store == 260);
    static_assert(sizeof l3lif_bd_idx_list == 4096);
    static_assert(sizeof assoc_mgr_sdb_uri == 256);
    /* As far as the library's own definitions reach, all of it can be written. */
    std::fill_n(l3lif_bd_idx_list, sizeof l3lif_bd_idx_list, uint8_t{1});
    std::fill_n(g_pm_store, sizeof g_pm_store, uint8_t{1});
    EXPECT_TRUE(is_zero(g_pc_store));
    EXPECT_TRUE(is_zero(assoc_mgr_sdb_uri));
}

} // namespace

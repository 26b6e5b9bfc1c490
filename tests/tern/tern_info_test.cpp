// What tern-info makes of what the layer tells.
#include <gtest/gtest.h>

#include "tools/tern-info/facts.h"
#include "tools/tern-info/system_text.h"

#ifdef HWLOC
#include <hwloc.h>
#endif

TEST(TernInfo, TitlesAndCores) {
    EXPECT_EQ(system_title("A=1\nPRETTY_NAME=\"Some OS 1\"\nB=2"), "Some OS 1");
    EXPECT_EQ(system_title("Some\x1b[31m OS\nx"), "Some?[31m OS");
    EXPECT_EQ(count_cores({{0, 0, 0, 0}, {0, 0, 0, 1}, {0, 1, 0, 0}}), 2u);
    EXPECT_EQ(count_cores({{0, 0, 0, 0}, {0, 0, 0, 0}}), std::nullopt) << "places not told";
}

#ifdef HWLOC
TEST(TernInfo, AgreesWithAnotherReadingOfThisMachine) {
    hwloc_topology_t topology;
    hwloc_topology_init(&topology);
    hwloc_topology_set_flags(topology, HWLOC_TOPOLOGY_FLAG_INCLUDE_DISALLOWED);
    ASSERT_EQ(hwloc_topology_load(topology), 0);
    FILE* output = popen(TERN_INFO " --json", "r");
    const auto info = nlohmann::json::parse(output);
    pclose(output);
    EXPECT_EQ(info["packages"], hwloc_get_nbobjs_by_type(topology, HWLOC_OBJ_PACKAGE));
    EXPECT_EQ(info["cores"], hwloc_get_nbobjs_by_type(topology, HWLOC_OBJ_CORE));
    EXPECT_EQ(info["threads"], hwloc_get_nbobjs_by_type(topology, HWLOC_OBJ_PU));
    for (auto* o = hwloc_get_pu_obj_by_os_index(topology, 0); o; o = o->parent) {
        if (hwloc_obj_type_is_dcache(o->type)) {
            const auto cache = info["caches"][o->attr->cache.depth - 1];
            EXPECT_EQ(cache["size"], o->attr->cache.size) << "level " << o->attr->cache.depth;
            EXPECT_EQ(cache["ways"], o->attr->cache.associativity);
        }
    }
    hwloc_topology_destroy(topology);
}
#endif

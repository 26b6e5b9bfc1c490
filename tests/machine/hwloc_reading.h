/// Another reading of a machine to compare with, where its library is installed.
#pragma once

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <set>

#ifdef HWLOC
#include <hwloc.h>
#endif

/// Packages, cores, nodes and data caches of `facts`, and their CPUs, are those that hwloc finds
/// under `root`, or on this machine where it is null.
inline void expect_as_hwloc_reads([[maybe_unused]] const nlohmann::json& facts,
                                  [[maybe_unused]] const char* root) {
#ifdef HWLOC
    setenv(root ? "HWLOC_FSROOT" : "HWLOC_NONE", root ? root : "", 1);
    setenv("HWLOC_COMPONENTS", "linux,stop", 1);  // no reading of this processor's CPUID
    hwloc_topology_t topology;
    hwloc_topology_init(&topology);
    hwloc_topology_set_flags(topology, HWLOC_TOPOLOGY_FLAG_INCLUDE_DISALLOWED);
    ASSERT_EQ(hwloc_topology_load(topology), 0);
    unsetenv("HWLOC_FSROOT");

    std::set<nlohmann::json> found, told;
    for (auto type : {HWLOC_OBJ_CORE, HWLOC_OBJ_L1CACHE, HWLOC_OBJ_L2CACHE, HWLOC_OBJ_L3CACHE,
                      HWLOC_OBJ_NUMANODE})
        for (hwloc_obj_t o = nullptr; (o = hwloc_get_next_obj_by_type(topology, type, o));) {
            char cpus[4096];
            hwloc_bitmap_list_snprintf(cpus, sizeof cpus, o->cpuset);
            const auto& cache = o->attr->cache;
            if (hwloc_obj_type_is_cache(type))
                found.insert({cache.depth, cache.size, cache.associativity, cpus});
            else if (type == HWLOC_OBJ_CORE)
                found.insert({"core", cpus});
            else if (!facts["nodes"].empty())  // it makes one up
                found.insert({"node", o->os_index, cpus});
        }
    EXPECT_EQ(facts["topology"]["packages"], hwloc_get_nbobjs_by_type(topology, HWLOC_OBJ_PACKAGE));
    hwloc_topology_destroy(topology);

    for (const auto& cpu : facts["topology"]["cpus"])
        told.insert({"core", cpu["core_cpus"]});
    for (const auto& node : facts["nodes"])
        told.insert({"node", node["node"], node["cpus"]});
    for (const auto& cache : facts["caches"])
        if (cache["type"] != "instruction")
            told.insert({cache["level"], cache["size_bytes"], cache["ways"], cache["cpus"]});
    EXPECT_EQ(told, found);
#endif
}

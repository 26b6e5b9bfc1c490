// Which points a plan has, and how sizes are asked for.
#include "survey/run/plan.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <set>

#include "survey/run/sizes.h"

namespace survey {
namespace {

std::string sizesOf(const std::string& text) {
    try {
        std::string list;
        for (const std::uint64_t size : parseSizes(text, 4096))
            list += (list.empty() ? "" : " ") + std::to_string(size);
        return list;
    } catch (const std::invalid_argument& failure) {
        return failure.what();
    }
}

TEST(Sizes, ListsAndRanges) {
    EXPECT_EQ(sizesOf("16K,8m,100"), "16384 8388608 100");
    EXPECT_EQ(sizesOf("4K-16K"), "4096 8192 16384");
    EXPECT_EQ(sizesOf("4K-16K/2"), "4096 8192 12288 16384") << "6 KiB is rounded up";
    EXPECT_EQ(sizesOf("1-4096"), "4096");
    EXPECT_EQ(sizesOf("5K-18K"), "4096 12288") << "whole pages";
    EXPECT_EQ(sizesOf("4294967295"), "4294967295");
    EXPECT_EQ(sizesOf("2G-4294967295"), "2147483648");
    for (const char* bad : {"", ",", "16K,", "x", "16KB", "-", "1-", "-1", "1-2-3", "0", "4G", "5G",
                            "8K-4K", "4K/2", "4K-8K/0", "4K-8K/65", "4K-8K/", "16K 32K"})
        EXPECT_EQ(sizesOf(bad).find('\''), 0u) << bad << " gave " << sizesOf(bad);
}

Ground smallMachine() {
    Ground ground;
    ground.cpus = {2, 3};
    ground.pageBytes = 4096;
    ground.lastLevelBytes = 32u << 20;
    ground.largestArray = 1u << 30;
    for (const unsigned cpu : {2u, 3u}) {
        machine::Cpu it{};
        it.number = cpu;
        it.node = 1;
        ground.facts.topology.cpus.push_back(it);
    }
    return ground;
}

TEST(Plans, HaveTheSameGridOnEveryHostAndNoPointTwice) {
    const Ground ground = smallMachine();
    const auto grid = gridSizes(ground, 2);
    EXPECT_EQ(grid.front(), 4096u);
    EXPECT_EQ(grid.back(), 128u << 20) << "four times the last cache";
    EXPECT_TRUE(std::ranges::find(grid, 49152u) != grid.end()) << "3 * 2^(k-1)";
    const auto hierarchy = pointsOf("hierarchy", ground, {});
    for (const PlannedPoint& point : hierarchy) {
        EXPECT_EQ(point.parameters.cpus, std::vector<unsigned>{2}) << "the first of ours";
        EXPECT_EQ(point.parameters.nodes, machine::NumberList{1}) << "and its node";
    }
    const auto all = pointsOf("all", ground, {});
    EXPECT_GT(all.size(), hierarchy.size());
    for (std::size_t i = 0; i < all.size(); ++i)
        for (std::size_t j = 0; j < i; ++j)
            EXPECT_NE(all[i].parameters, all[j].parameters);
}

TEST(Plans, PointsOfOnesOwnAreTheProductWithoutWhatAPatternDoesNotLookAt) {
    Choices choices;
    choices.patterns = {"a-l", "a-fastmem", "f-d4f", "s-lms"};
    choices.sizes = {4096, 8192};
    choices.words = {8, 64};
    choices.strides = {0, 64};
    const auto points = pointsOf("hierarchy", smallMachine(), choices);
    const auto count = [&points](const char* pattern) {
        return std::ranges::count(points, pattern,
                                  [](const auto& it) { return it.parameters.pattern; });
    };
    EXPECT_EQ(count("a-l"), 6) << "two sizes, (8, 8), (8, 64) and (64, 64)";
    EXPECT_EQ(count("a-fastmem"), 2);
    EXPECT_EQ(count("f-d4f"), 1);
    EXPECT_EQ(count("s-lms"), 2) << "a stride of 0 stays one";
    EXPECT_FALSE(whyUnsupported({.pattern = "a-l", .sizeBytes = 5000}, smallMachine()).empty());
    EXPECT_FALSE(whyUnsupported({.pattern = "a-l", .sizeBytes = 4096, .pages = Kestrel::pk2M},
                                smallMachine())
                     .empty());
    EXPECT_TRUE(whyUnsupported({.pattern = "a-l", .sizeBytes = 4096}, smallMachine()).empty());
}

TEST(Plans, MindWhoSharesACacheAndWhoIsMeasured) {
    Ground ground = smallMachine();
    machine::Cache cache{};
    cache.level = 2;
    cache.type = machine::CacheType::unified;
    cache.bytes = 2u << 20;
    cache.cpus = {2, 3};
    ground.facts.caches = {cache};
    std::set<std::uint64_t> ofOne, ofBoth;
    for (const PlannedPoint& point : pointsOf("peak", ground, {}))
        if (point.parameters.pattern == "a-l")
            (point.parameters.cpus.size() == 1 ? ofOne : ofBoth)
                .insert(*point.parameters.sizeBytes);
    EXPECT_TRUE(ofOne.contains(1u << 20));
    EXPECT_TRUE(ofBoth.contains(512u << 10)) << "two arrays share the cache";
    Choices both;
    both.cpus = {{2, 3}};
    for (const PlannedPoint& point : pointsOf("loaded", ground, both))
        EXPECT_TRUE(point.parameters.loadCpus.empty()) << "nobody is left to load";
    EXPECT_FALSE(whyNotWith("nodes", both).empty());
    EXPECT_TRUE(whyNotWith("sharing", both).empty());
}

}  // namespace
}  // namespace survey

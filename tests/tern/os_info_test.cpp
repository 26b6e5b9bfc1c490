#include "tern/src/linux/tern/os_info.h"

#include <gtest/gtest.h>
#include <sys/utsname.h>

#include "temporary.h"

namespace {

TEST(OsInfo, NameIsReleaseAndFirstFileWithBytes) {
    const temporary_folder folder;
    const std::string many = folder.write("many", "NAME=a\nID=b\n"),
                      empty = folder.write("empty", "");
    const std::string long_file = folder.write("long", std::string(5000, 'x'));
    const std::string exact = folder.write("exact", std::string(4095, 'x') + "\n");
    const std::string absent = folder.path("absent"), self = folder.path();
    const std::string most(4095, 'x');
    const struct {
        const char* release;
        std::vector<std::string> files;
        std::string name;
    } rows[] = {
        {"5.15.0", {absent, self, empty, many, long_file}, "5.15.0 NAME=a\nID=b"},
        {"5.15.0", {absent, empty}, "5.15.0 Unix/Linux"},
        {"5.15.0", {long_file}, "5.15.0 " + most},
        {"5.15.0", {exact}, "5.15.0 " + most},
        {nullptr, {many}, "NAME=a\nID=b"},
        {"", {}, "Unix/Linux"},
    };
    recording_allocator allocator;
    for (const auto& row : rows) {
        std::vector<const char*> files;
        for (const std::string& file : row.files)
            files.push_back(file.c_str());
        EXPECT_EQ(owned(tern::make_os_name(row.release, files, &allocator)).get(), row.name);
        EXPECT_EQ(allocator.block_bytes, (row.release ? strlen(row.release) : 0) + 4097);
    }
    utsname kernel;
    uname(&kernel);
    const std::string live = owned(tern_get_os_name(&allocator)).get();
    EXPECT_EQ(live.rfind(kernel.release + std::string(" "), 0), 0u) << live;
    allocator.empty = true;
    EXPECT_EXIT(tern_get_os_name(&allocator), testing::KilledBySignal(SIGABRT),
                "^tern/src/linux/tern:[0-9]+ tern_get_os_name: Assertion 'release' failed\\.\n\n$");
}

TEST(OsInfo, KernelRelease) {
    const struct {
        const char* release;
        int count;
        std::array<std::uint16_t, 4> numbers;
    } rows[] = {
        {"3.10.0-957.el7.x86_64", 4, {3, 10, 0, 957}},
        {"5.15.0", 3, {5, 15, 0, 0}},
        {"5.15.0-generic", 3, {5, 15, 0, 0}},
        {"6.1", 2, {6, 1, 0, 0}},
        {"6-rc1", 1, {6, 0, 0, 0}},
        {"", 0, {}},
        {"linux", 0, {}},
        {"5.15.0-1234567", 4, {5, 15, 0, 54919}},
        {"99999999999.1", 2, {65535, 1, 0, 0}},
    };
    for (const auto& row : rows) {
        std::array<std::uint16_t, 4> n{};
        auto& [major, minor, patch, build] = n;
        EXPECT_EQ(tern::decode_kernel_release(row.release, {&major, &minor, &patch, &build}),
                  row.count);
        EXPECT_EQ(n, row.numbers) << row.release;
    }
}

}  // namespace

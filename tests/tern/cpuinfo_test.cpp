// The decoder of /proc/cpuinfo over recorded machines and over texts that no kernel writes.
#include <gtest/gtest.h>

#include <sstream>

#include "temporary.h"
#include "tern/src/linux/tern/cpu_info.h"
#include "tern/src/linux/tern/time.h"

namespace {

struct result {
    bool ok;
    std::string signature, places;
};

std::string numbers(unsigned a, unsigned b, unsigned c) {
    return std::to_string(a) + "." + std::to_string(b) + "." + std::to_string(c);
}

result decode(const std::string& path, std::size_t cpus) {
    tern_cpu_signature signature{};
    std::vector<tern_cpu_topology> topology(cpus);
    const bool ok = tern::read_cpuinfo(path.c_str(), signature, topology);
    std::string places;
    for (const tern_cpu_topology& cpu : topology) {
        EXPECT_EQ(cpu.reserved, 0);
        places += (places.empty() ? "" : " ") + numbers(cpu.package, cpu.core, cpu.thread);
    }
    return {ok, numbers(signature.family, signature.model, signature.stepping), places};
}

TEST(Cpuinfo, RecordedMachines) {
    const struct {
        const char* file;
        std::size_t cpus;
        const char *signature, *places;
    } machines[] = {
        {"two_package_server", 16, "6.79.1",
         "0.0.0 0.1.0 0.4.0 0.5.0 1.0.0 1.1.0 1.4.0 1.5.0 "
         "0.0.1 0.1.1 0.4.1 0.5.1 1.0.1 1.1.1 1.4.1 1.5.1"},
        {"hybrid_laptop", 16, "6.154.3",
         "0.0.0 0.0.1 0.4.0 0.4.1 0.8.0 0.8.1 0.12.0 0.12.1 "
         "0.16.0 0.17.0 0.18.0 0.19.0 0.20.0 0.21.0 0.22.0 0.23.0"},
        {"epyc", 16, "25.1.1",
         "0.0.0 0.1.0 0.2.0 0.3.0 0.4.0 0.5.0 0.6.0 0.7.0 "
         "0.0.1 0.1.1 0.2.1 0.3.1 0.4.1 0.5.1 0.6.1 0.7.1"},
        {"guest_32_bit", 1, "6.6.3", "0.0.0"},
        {"no_siblings", 4, "15.4.3", "0.0.0 0.0.0 0.1.0 0.1.0"},
        {"packages_0_and_3", 4, "15.2.9", "0.0.0 1.0.0 0.0.1 1.0.1"},
    };
    for (const auto& m : machines) {
        const std::string path = std::string(MACHINES) + "/" + m.file + ".cpuinfo";
        const result r = decode(path, m.cpus);
        EXPECT_TRUE(r.ok) << m.file;
        EXPECT_EQ(r.signature, m.signature) << m.file;
        EXPECT_EQ(r.places, m.places) << m.file;
        EXPECT_FALSE(decode(path, m.cpus - 1).ok) << "one more than online: " << m.file;
        EXPECT_TRUE(decode(path, m.cpus + 1).ok) << "fewer listed than online: " << m.file;
    }
}

TEST(Cpuinfo, TextsThatNoKernelWrites) {
    const std::string last_core = "core id : 7";
    const struct {
        const char* what;
        std::string text;
        std::size_t cpus;
        bool ok;
        const char* places;
    } texts[] = {
        {"empty", "", 1, true, "0.0.0"},
        {"a blank line first", "\nprocessor : 0\n", 1, false, "0.0.0"},
        {"another line first", "model : 1\nprocessor : 0\n", 1, false, "0.0.0"},
        {"ends at the processor too many", "processor:0\nprocessor:1\n", 1, true, "0.0.0"},
        {"goes on after it", "processor:0\ncore id:3\nprocessor:1\nx\n", 1, false, "0.3.0"},
        {"no end of the last line", "processor : 0\n" + last_core, 1, true, "0.7.0"},
        {"cut before the number", "processor : 0\ncore id\t: ", 1, true, "0.0.0"},
        {"cut before the colon", "processor : 0\ncore id", 1, true, "0.0.0"},
        {"carriage returns", "processor : 0\r\ncore id : 7\r\n", 1, true, "0.7.0"},
        {"one package keeps its id", "processor:0\nphysical id:1\nprocessor:1\nphysical id:1", 2,
         true, "1.0.0 1.0.0"},
        {"the low 8 bits", "processor:0\nphysical id:257\ncore id:-1\n", 1, true, "1.255.0"},
        {"beyond 32 bits", "processor:0\ncore id:99999999999999999999\n", 1, true, "0.255.0"},
        {"far below", "processor:0\ncore id:-99999999999999999999\n", 1, true, "0.0.0"},
        {"no number", "processor:0\ncore id:x7\nphysical id:- 1\n", 1, true, "0.0.0"},
        {"a line longer than the buffer",
         "processor:0\nflags : " + std::string(9000, 'x') + "\n" + last_core + "\n", 1, true,
         "0.7.0"},
        {"siblings of zero", "processor:0\nsiblings:0\nprocessor:1\n", 2, true, "0.0.0 0.0.0"},
        {"zero bytes", std::string("processor:0\n\0\0\ncore id:7\n", 25), 1, true, "0.7.0"},
    };
    const temporary_folder folder;
    for (const auto& t : texts) {
        const result r = decode(folder.write("cpuinfo", t.text), t.cpus);
        EXPECT_EQ(r.ok, t.ok) << t.what;
        EXPECT_EQ(r.places, t.places) << t.what;
    }
    EXPECT_FALSE(decode(folder.path("absent"), 1).ok);
    EXPECT_TRUE(decode(folder.path(), 1).ok) << "a folder opens and reads as empty";
}

TEST(Cpuinfo, MoreThreadsOfOneCoreThanNumbers) {
    std::ostringstream text;
    for (int i = 0; i < 300; ++i)
        text << "processor : " << i << "\nsiblings : 300\n";
    const temporary_folder folder;
    EXPECT_TRUE(decode(folder.write("cpuinfo", text.str()), 300).ok);
}

TEST(Cpuinfo, Frequency) {
    const struct {
        std::string text;
        std::uint64_t hertz;
    } texts[] = {
        {"processor : 0\ncpu MHz\t\t: 2699.945\nprocessor : 1\ncpu MHz : 800\n", 2699944960},
        {"cpu MHz : 1000\n", 1'000'000'000},
        {"\ncpu MHz : \ncpu MHz : fast\n\ncpu MHz:7", 7'000'000},
        {"bogomips : 5000\n", 0},
        {"cpu MHz : -2\n", 0},
        {"cpu MHz : nan\n", 0},
        {"cpu MHz : 1e30\n", 0},
        {"cpu MHz : 1e99999\n", 0},
    };
    const temporary_folder folder;
    for (const auto& t : texts) {
        std::uint64_t hertz = 1;
        EXPECT_EQ(tern::read_cpuinfo_frequency(folder.write("c", t.text).c_str(), hertz), 0);
        EXPECT_EQ(hertz, t.hertz) << t.text;
    }
    std::uint64_t hertz = 1;
    EXPECT_EQ(tern::read_cpuinfo_frequency(folder.path("absent").c_str(), hertz), -1);
    EXPECT_EQ(hertz, 0u);
}

}  // namespace

#include "tern/os_info.h"

#include <sys/syscall.h>
#include <sys/utsname.h>

#include "temporary.h"

TEST(OsInfo, ThisSystemAndItsFaults) {
    utsname kernel;
    uname(&kernel);
    std::string start = kernel.release;
    EXPECT_TRUE(std::string(owned(tern_get_os_name(&watched)).get()).starts_with(start += ' '));
    std::uint16_t n[4] = {1, 2, 3, 4};
    EXPECT_GE(tern_get_os_version(n, n + 1, n + 2, n + 3), 2);
    const auto version_is_refused = [&] {
        refuse(SYS_uname);
        return tern_get_os_version(n, n + 1, n + 2, n + 3) == -1 && !n[0] && !n[1] && !n[2] &&
               !n[3];
    };
    EXPECT_EXIT(std::_Exit(version_is_refused()), testing::ExitedWithCode(1), "");
    no_memory = true;
    EXPECT_EQ(tern_get_hypervisor_name(&watched), nullptr);
    expect_report([] { tern_get_os_name(&watched); }, "tern/src/linux/tern",
                  "tern_get_os_name: Assertion 'release'");
    no_memory = false;
}

#include "report.h"

#include <gtest/gtest.h>

using namespace Kestrel;

TEST(Report, LinesAreExact) {
    WorkerResult result;
    result.workerIndex = 3;
    result.frequency = 2857000000;
    result.bytes = 500;
    result.clocks = 2857;
    result.iterations = (std::uint64_t{7} << 32) + 41;
    EXPECT_EQ(bandwidthLine(result, 12, 16384),
              "cpuidx(3)=12 freq(MHz)=2857.000000 iters=41 size(MB)=0.016384 BW(GB/s)=0.500000");
    EXPECT_EQ(totalLine(bandwidth(result)), "Total BW(GB/s)=0.5");
    EXPECT_EQ(totalLine(123456789012.0), "Total BW(GB/s)=123.457");
    EXPECT_EQ(totalLine(0), "Total BW(GB/s)=0");

    result.iterations = 40;
    result.frequency = 1000000000;
    EXPECT_EQ(accessTimeLine(result, 12, 20),
              "cpuidx(3)=12 freq(Hz)=1000000000.000000 iters=40 clocks=3.571250");
    EXPECT_EQ(accessTimeLine(result, 12, 0),
              "cpuidx(3)=12 freq(Hz)=1000000000.000000 iters=40 clocks=inf");
}

TEST(Report, NothingCountedIsZero) {
    WorkerResult result;
    result.frequency = 1000000;
    result.bytes = 7;
    EXPECT_EQ(bandwidth(result), 0);
    EXPECT_EQ(accessTime(result, 0), 0);
    EXPECT_EQ(bandwidthLine(result, 0, 1),
              "cpuidx(0)=0 freq(MHz)=1.000000 iters=0 size(MB)=0.000001 BW(GB/s)=0.000000");
}

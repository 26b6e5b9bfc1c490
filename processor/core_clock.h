/// The core's real clock, which the time-stamp counter does not show.
#pragma once

#include <vector>

namespace processor {

/// The core clock around a piece of work, in cycles for each tick of the time-stamp counter.
///
/// The clock is not steady. A core can change it by a tenth within a second, and some processors
/// lower it while wide arithmetic runs and raise it again two microseconds later. So take a reading
/// right after each slice of the work, and use none of them for other work.
///
/// A reading times a chain of additions. Another thread on the same core delays some of them, and
/// the clock then looks up to a tenth slower than it is: core_sharing.h tells whether there is one.
class CoreClock {
  public:
    /// Takes a reading on the calling, pinned thread: about 4000 core cycles.
    void read();

    /// The mean of the middle half of the readings, so that a reading that was interrupted does not
    /// count; 0 without any. Ten readings of an undisturbed core vary by 0.1 %.
    [[nodiscard]] double cyclesPerTick() const;

  private:
    std::vector<double> readings;
};

}  // namespace processor

/// The core's real clock, which the time-stamp counter does not show.
#pragma once

namespace bench {

/// Core cycles for each tick of the time-stamp counter, from chains of dependent additions, which
/// take one cycle each on every x86 core since the Pentium Pro: what a long chain takes more than
/// a short one, so that the bracket does not count. The best of a few pairs: an interrupt can only
/// make a chain look slower. About 40 microseconds. 0 where it cannot be said.
double coreCyclesPerTick();

/// The core clock beside one measurement, read before and after. The highest reading of lately
/// counts, so that cycles are rather overcounted; where another thread keeps the core busy all the
/// while, a figure can still come out up to half a per cent too high.
class CoreClock {
  public:
    CoreClock();

    /// Core cycles for each tick since construction; 0 where the clock has changed meanwhile and
    /// nothing can be said.
    [[nodiscard]] double cyclesPerTick() const;

  private:
    double before;
};

}  // namespace bench

#pragma once

/// Makes the look-up of the name "slow.test" in this process hang, as with a name server that does not
/// answer, from its construction to its destruction. One at a time. The name "unknown.test" is never found.
class SlowLookup
{
public:
    SlowLookup();
    SlowLookup(const SlowLookup&) = delete;
    SlowLookup& operator=(const SlowLookup&) = delete;
    /// Lets the look-ups fail and waits for the last of them.
    ~SlowLookup();

    /// How many look-ups have come back since the construction.
    [[nodiscard]] static int finished();
};

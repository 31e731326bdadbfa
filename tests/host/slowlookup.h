#pragma once

/// Makes the look-up of the name "slow.test" in this process hang, as with a name server that does not
/// answer, from its construction to its destruction. One at a time.
class SlowLookup
{
public:
    SlowLookup();
    SlowLookup(const SlowLookup&) = delete;
    SlowLookup& operator=(const SlowLookup&) = delete;
    /// Lets the look-ups fail and waits for the last of them.
    ~SlowLookup();

    /// How many look-ups are hanging.
    [[nodiscard]] static int pending();
};

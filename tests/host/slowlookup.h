#pragma once

/// Makes the look-up of the name "slow.test" in this process hang, as with a name server that does not
/// answer, from its construction to its destruction: once in the process, for one look-up, which it waits for
/// in the end. The name "unknown.test" is never found.
class SlowLookup
{
public:
    SlowLookup() = default;
    SlowLookup(const SlowLookup&) = delete;
    SlowLookup& operator=(const SlowLookup&) = delete;
    ~SlowLookup();

    /// Whether the look-up has come back; to be asked once.
    [[nodiscard]] static bool isOver();
};

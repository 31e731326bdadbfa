#pragma once

/// Makes the look-ups of the name "slow.test" in this process hang, as with a name server that does not
/// answer, from its construction to its destruction, which waits for them. The name "unknown.test" is not
/// found. Before that, so many look-ups of either name succeed. One at a time in the process.
class SlowLookup
{
public:
    explicit SlowLookup(int successes);
    SlowLookup(const SlowLookup&) = delete;
    SlowLookup& operator=(const SlowLookup&) = delete;
    ~SlowLookup();
};

#pragma once

namespace poshost {

/// While it lives, the host's progress indications are shown on standard error: on a terminal with something
/// that moves and is wiped out afterwards, otherwise as one line.
class ProgressLine
{
public:
    ProgressLine();
    ProgressLine(const ProgressLine&) = delete;
    ProgressLine& operator=(const ProgressLine&) = delete;
    ~ProgressLine();
};

}  // namespace poshost

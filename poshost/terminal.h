#pragma once

namespace poshost {

[[nodiscard]] bool isTerminal(int fd);

/// Columns of the terminal at `fd`; 0 when it is none or does not tell.
[[nodiscard]] int terminalWidth(int fd);

/// A terminal that can show colours, and the user has not asked for none (NO_COLOR).
[[nodiscard]] bool showsColours(int fd);

}  // namespace poshost

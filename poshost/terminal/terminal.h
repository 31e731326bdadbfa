#pragma once

namespace poshost {

/// Whether reports are coloured; by default when a terminal shows them.
enum class Colours { Auto, Always, Never };

/// How a report is to look.
struct Style
{
    bool colours = false;
    int width = 0;  ///< columns of the terminal, longer codes are shortened to fit; 0: as wide as it gets
};

[[nodiscard]] bool isTerminal(int fd);

/// For what is printed to `fd` now: a terminal's width may change. Colours::Auto heeds NO_COLOR and TERM.
[[nodiscard]] Style styleOf(int fd, Colours colours);

/// While it lives, the terminal on standard input hands over every byte as it is typed: no line editing, no
/// echo, CR stays CR, and of the control characters only Ctrl-C and Ctrl-Z are the terminal's own. Nothing
/// happens when standard input is no terminal. One at a time.
class RawTerminal
{
public:
    RawTerminal();
    RawTerminal(const RawTerminal&) = delete;
    RawTerminal& operator=(const RawTerminal&) = delete;
    /// Restores the terminal and drops what was typed and not read: it must not reach the user's shell.
    ~RawTerminal();

    [[nodiscard]] bool isRaw() const { return m_isRaw; }

    /// Stops the process with the terminal as it was, and makes it raw again when the process goes on.
    void suspend();

    /// Restores the terminal before its time, for a process that ends without unwinding. Safe in a signal's
    /// handler.
    static void restore() noexcept;

private:
    void makeRaw();

    bool m_isRaw = false;
};

}  // namespace poshost

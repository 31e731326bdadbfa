#pragma once

namespace poshost {

/// While it lives, the terminal on standard input hands over every byte as it is typed: no line editing, no
/// echo, CR stays CR, and of the control characters only Ctrl-C is the terminal's own. Nothing happens when
/// standard input is no terminal. One at a time.
class RawTerminal
{
public:
    RawTerminal();
    RawTerminal(const RawTerminal&) = delete;
    RawTerminal& operator=(const RawTerminal&) = delete;
    /// Restores the terminal and drops what was typed and not read: it must not reach the user's shell.
    ~RawTerminal();

    [[nodiscard]] bool isRaw() const { return m_isRaw; }

    /// The same before its time, for a process that ends without unwinding. Threads: any.
    static void restore() noexcept;

private:
    bool m_isRaw = false;
};

}  // namespace poshost

#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace marksim {

/// The body of a reply: `text` with `fill` filler bytes ('x') put in at `fillAt`. A body of many megabytes so
/// costs no memory.
struct Body
{
    std::string text;
    std::uint64_t fill = 0;
    std::size_t fillAt = 0;

    [[nodiscard]] std::uint64_t size() const { return text.size() + fill; }
};

/// The bytes of one reply, head and body, to be read from any offset.
class Wire
{
public:
    Wire() = default;
    Wire(std::string head, Body body)
        : head_(std::move(head))
        , body_(std::move(body))
    {
    }

    [[nodiscard]] std::uint64_t size() const { return head_.size() + body_.size(); }
    [[nodiscard]] std::uint64_t headSize() const { return head_.size(); }

    /// Copies up to `count` bytes from `offset` on into `out`; returns how many.
    std::size_t read(std::uint64_t offset, char* out, std::size_t count) const;

private:
    std::string head_;
    Body body_;
};

}  // namespace marksim

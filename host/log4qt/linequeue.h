#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <memory>
#include <mutex>
#include <vector>

#include <spdlog/details/log_msg_buffer.h>
#include <spdlog/sinks/sink.h>

namespace Log4Qt {

/// Lines on their way to a sink. A thread writes them in order, so that a sink that blocks (a pipe that
/// nobody reads) holds up nobody who logs. Lines that find the queue full are dropped; a line in their place
/// tells how many. Internal to the library; one in the process, never destroyed. Threads: any.
///
/// Where no thread can be started, and in the child of a fork(), lines are written by whoever logs them.
class LineQueue
{
public:
    using Sink = std::shared_ptr<spdlog::sinks::sink>;

    /// `sink` must not be null, here and in setSink().
    explicit LineQueue(Sink sink);
    LineQueue(const LineQueue&) = delete;
    LineQueue& operator=(const LineQueue&) = delete;

    /// Where lines go that are added from now on.
    void setSink(Sink sink);
    void add(const spdlog::details::log_msg& line);
    /// Waits until all lines added so far are written. False when that takes longer than `limit`.
    bool flush(std::chrono::milliseconds limit);

private:
    struct Line
    {
        Sink sink;
        spdlog::details::log_msg_buffer message;
    };
    enum class Writer { None, Thread, Caller };

    void goOnInChild();
    void startWriter();
    [[noreturn]] void run();

    std::mutex m_mutex;  // guards what follows; not held while lines are written but by Writer::Caller
    std::condition_variable m_added;
    std::condition_variable m_written;
    Writer m_writer = Writer::None;
    Sink m_sink;
    std::vector<Line> m_lines;
    std::size_t m_bytes = 0;  // what m_lines takes, about
    std::size_t m_dropped = 0;
    std::size_t m_addedCount = 0;
    std::size_t m_writtenCount = 0;
};

}  // namespace Log4Qt

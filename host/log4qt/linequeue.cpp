#include <log4qt/linequeue.h>

#include <csignal>
#include <exception>
#include <system_error>
#include <thread>
#include <utility>

#include <pthread.h>

#include <QString>

namespace Log4Qt {

namespace {

constexpr std::size_t maxQueuedBytes = 4 << 20;
constexpr std::size_t bytesBesideText = 200;

LineQueue* theQueue = nullptr;

/// Runs when the program ends, after everything that depends on this library.
__attribute__((destructor)) void writeRest()
{
    using namespace std::chrono_literals;
    if (theQueue != nullptr) {
        (void)theQueue->flush(2s);  // not for ever: nobody may be reading
    }
}

void write(spdlog::sinks::sink& sink, const spdlog::details::log_msg& line)
{
    try {
        sink.log(line);
        sink.flush();
    } catch (const std::exception&) {  // NOLINT(bugprone-empty-catch): a full disk; nowhere to say so
    }
}

}  // namespace

LineQueue::LineQueue(Sink sink)
    : m_sink(std::move(sink))
{
    theQueue = this;
    // Nothing may be added while the process is copied, and the child has no thread.
    pthread_atfork([] { theQueue->m_mutex.lock(); }, [] { theQueue->m_mutex.unlock(); },
                   [] { theQueue->goOnInChild(); });
}

void LineQueue::setSink(Sink sink)
{
    const std::lock_guard lock(m_mutex);
    m_sink.swap(sink);
}

void LineQueue::add(const spdlog::details::log_msg& line)
{
    const std::lock_guard lock(m_mutex);
    if (m_writer == Writer::None) {
        startWriter();
    }
    if (m_writer == Writer::Caller) {
        write(*m_sink, line);
        return;
    }
    const std::size_t bytes = line.payload.size() + bytesBesideText;
    // What was dropped is told at the end of the lines that wait: none may come between.
    if (m_dropped > 0 || (!m_lines.empty() && m_bytes + bytes > maxQueuedBytes)) {
        ++m_dropped;
        return;
    }
    m_bytes += bytes;
    m_lines.push_back({m_sink, spdlog::details::log_msg_buffer(line)});
    ++m_addedCount;
    m_added.notify_one();
}

bool LineQueue::flush(std::chrono::milliseconds limit)
{
    std::unique_lock lock(m_mutex);
    return m_written.wait_for(lock, limit,
                              [this, wanted = m_addedCount] { return m_writtenCount >= wanted; });
}

void LineQueue::goOnInChild()
{
    m_lines.clear();  // the parent writes them
    m_bytes = 0;
    m_dropped = 0;
    m_writtenCount = m_addedCount;
    m_writer = Writer::Caller;
    m_mutex.unlock();
}

void LineQueue::startWriter()
{
    // Signals are for the threads of the program.
    sigset_t all;
    sigset_t before;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before);
    try {
        std::thread([this] { run(); }).detach();
        m_writer = Writer::Thread;
    } catch (const std::system_error&) {
        m_writer = Writer::Caller;
    }
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
}

void LineQueue::run()
{
    std::unique_lock lock(m_mutex);
    while (true) {
        m_added.wait(lock, [this] { return !m_lines.empty(); });
        const auto lines = std::exchange(m_lines, {});
        const std::size_t dropped = std::exchange(m_dropped, 0);
        m_bytes = 0;
        lock.unlock();
        for (const Line& line : lines) {
            write(*line.sink, line.message);
        }
        if (dropped > 0) {
            const auto text = QStringLiteral("Пропущено строк журнала: %1").arg(dropped).toStdString();
            write(*lines.back().sink, {"log4qt", spdlog::level::warn, text});
        }
        lock.lock();
        m_writtenCount += lines.size();
        m_written.notify_all();
    }
}

}  // namespace Log4Qt

#pragma once

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <exception>
#include <iterator>
#include <memory>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

#include <QString>

#include <log4qt/logmanager.h>

/// Calls `function`. An exception is logged as `text`, with what it says of itself behind it.
template <class Function>
void logExceptions(const Log4Qt::Logger* logger, const QString& text, const Function& function)
{
    try {
        function();
    } catch (const std::exception& exception) {
        logger->error(QStringLiteral("%1: %2"), text, QString::fromUtf8(exception.what()));
    } catch (...) {
        logger->error(text);
    }
}

/// A function of somebody else that is called in many threads, until it is taken back. Internal to the
/// library. Threads: any.
template <class Function>
class CallGate
{
public:
    /// `name` is what log lines call the function.
    CallGate(QString name, Function function)
        : m_name(std::move(name))
        , m_function(std::move(function))
    {
    }

    /// Has `use` call the function, in this thread. False once the gate is closed. An exception is logged.
    template <class Use>
    bool call(Use&& use)
    {
        if (!begin()) {
            return false;
        }
        logExceptions(logger(), m_name + QStringLiteral(" завершился исключением"),
                      [&] { use(std::as_const(m_function)); });
        end();
        return true;
    }

    /// No call begins from now on. Waits for the calls in other threads and says so when that takes long: a
    /// call that itself waits for this thread never returns.
    void close()
    {
        using namespace std::chrono_literals;
        std::unique_lock lock(m_mutex);
        m_isOpen = false;
        if (!m_ended.wait_for(lock, 1s, [this] { return runsHereOnly(); })) {
            lock.unlock();
            logger()->warn(QStringLiteral("%1: снятие ждёт конца вызова в другом потоке"), m_name);
            lock.lock();
            m_ended.wait(lock, [this] { return runsHereOnly(); });
        }
        dropWhenOver();
    }

    [[nodiscard]] bool isOpen() const
    {
        const std::lock_guard lock(m_mutex);
        return m_isOpen;
    }

    /// Closed, and no call is running.
    [[nodiscard]] bool isOver() const
    {
        const std::lock_guard lock(m_mutex);
        return !m_isOpen && m_callers.empty();
    }

private:
    static Log4Qt::Logger* logger() { return Log4Qt::LogManager::logger(QStringLiteral("orvex")); }

    bool begin()
    {
        const std::lock_guard lock(m_mutex);
        if (m_isOpen) {
            m_callers.push_back(std::this_thread::get_id());
        }
        return m_isOpen;
    }

    void end()
    {
        const std::lock_guard lock(m_mutex);
        m_callers.erase(std::find(m_callers.begin(), m_callers.end(), std::this_thread::get_id()));
        dropWhenOver();
        m_ended.notify_all();
    }

    [[nodiscard]] bool runsHereOnly() const
    {
        return std::all_of(m_callers.begin(), m_callers.end(),
                           [](std::thread::id id) { return id == std::this_thread::get_id(); });
    }

    /// The function and what it holds may lie in a library that is unloaded as soon as the gate is closed.
    void dropWhenOver()
    {
        if (!m_isOpen && m_callers.empty()) {
            m_function = nullptr;
        }
    }

    const QString m_name;
    mutable std::mutex m_mutex;  // guards what follows; never held while the function runs
    std::condition_variable m_ended;
    bool m_isOpen = true;
    std::vector<std::thread::id> m_callers;
    Function m_function;
};

/// Entries with a member `gate`, in the order of their registration. Those that are taken back stay until
/// their calls are over, so that taking them back again waits for these calls too. Threads: any.
template <class Entry>
class CallList
{
public:
    using EntryPointer = std::shared_ptr<Entry>;

    void add(EntryPointer entry)
    {
        const std::lock_guard lock(m_mutex);
        std::erase_if(m_entries, [](const EntryPointer& known) { return known->gate.isOver(); });
        m_entries.push_back(std::move(entry));
    }

    template <class Predicate>
    [[nodiscard]] std::vector<EntryPointer> matching(Predicate predicate) const
    {
        std::vector<EntryPointer> found;
        const std::lock_guard lock(m_mutex);
        std::copy_if(m_entries.begin(), m_entries.end(), std::back_inserter(found),
                     [&](const EntryPointer& entry) { return predicate(*entry); });
        return found;
    }

private:
    mutable std::mutex m_mutex;  // guards m_entries; taken before a gate's mutex
    std::vector<EntryPointer> m_entries;
};

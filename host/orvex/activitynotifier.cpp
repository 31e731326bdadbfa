#include <orvex/activitynotifier.h>

#include <algorithm>
#include <condition_variable>
#include <exception>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

#include <log4qt/logmanager.h>
#include <orvex/baseactivitylistener.h>

template class Singleton<ActivityNotifier>;

namespace {
enum Phase : int { Before, Listening, After };
}

/// One callback and the calls of it that are running. Lives as long as anybody holds it.
struct ActivityNotifier::Registration::Entry
{
    Entry(int entryPhase, int entryCode, BaseActivityListener* entryListener, Callback entryCallback)
        : phase(entryPhase)
        , code(entryCode)
        , listener(entryListener)
        , callback(std::move(entryCallback))
    {
    }

    /// Calls the callback unless the registration has been taken back.
    void call(const Event& event)
    {
        {
            const std::lock_guard lock(mutex);
            if (!active) {
                return;
            }
            callers.push_back(std::this_thread::get_id());
        }
        try {
            callback(event);
        } catch (const std::exception& exception) {
            Log4Qt::LogManager::logger(QStringLiteral("orvex"))
                ->error(QStringLiteral("Обработчик события %1 завершился исключением: %2"), event.getCode(),
                        QString::fromUtf8(exception.what()));
        } catch (...) {
            Log4Qt::LogManager::logger(QStringLiteral("orvex"))
                ->error(QStringLiteral("Обработчик события %1 завершился исключением"), event.getCode());
        }
        const std::lock_guard lock(mutex);
        callers.erase(std::find(callers.begin(), callers.end(), std::this_thread::get_id()));
        returned.notify_all();
    }

    void deactivate()
    {
        std::unique_lock lock(mutex);
        active = false;
        returned.wait(lock, [this] {
            return std::all_of(callers.begin(), callers.end(),
                               [](std::thread::id id) { return id == std::this_thread::get_id(); });
        });
        if (callers.empty()) {
            callback = nullptr;  // whatever it holds is let go with the registration
        }
    }

    [[nodiscard]] bool isActive()
    {
        const std::lock_guard lock(mutex);
        return active;
    }

    const int phase;
    const int code;
    BaseActivityListener* const listener;

    std::mutex mutex;  // guards what follows; never held while the callback runs
    std::condition_variable returned;
    bool active = true;
    std::vector<std::thread::id> callers;
    Callback callback;
};

struct ActivityNotifier::State
{
    using EntryPointer = std::shared_ptr<Registration::Entry>;

    void add(EntryPointer entry)
    {
        const std::lock_guard lock(mutex);
        std::erase_if(entries, [](const EntryPointer& known) { return !known->isActive(); });
        entries.push_back(std::move(entry));
    }

    [[nodiscard]] std::vector<EntryPointer> matching(int phase, int code)
    {
        std::vector<EntryPointer> found;
        const std::lock_guard lock(mutex);
        std::copy_if(entries.begin(), entries.end(), std::back_inserter(found),
                     [&](const EntryPointer& entry) { return entry->phase == phase && entry->code == code; });
        return found;
    }

    std::mutex mutex;  // guards entries; taken before an entry's mutex
    std::vector<EntryPointer> entries;
};

ActivityNotifier::Registration::Registration() = default;
ActivityNotifier::Registration::Registration(Registration&&) noexcept = default;

ActivityNotifier::Registration::Registration(std::shared_ptr<Entry> entry)
    : m_entry(std::move(entry))
{
}

ActivityNotifier::Registration& ActivityNotifier::Registration::operator=(Registration&& other) noexcept
{
    if (this != &other) {
        release();
        m_entry = std::move(other.m_entry);
    }
    return *this;
}

ActivityNotifier::Registration::~Registration()
{
    release();
}

void ActivityNotifier::Registration::release()
{
    if (const auto entry = std::exchange(m_entry, nullptr)) {
        entry->deactivate();
    }
}

ActivityNotifier::ActivityNotifier()
    : m_state(std::make_unique<State>())
{
}

ActivityNotifier::~ActivityNotifier() = default;

void ActivityNotifier::addListener(BaseActivityListener* listener, const QList<int>& codes)
{
    for (const int code : codes) {
        const auto known = m_state->matching(Listening, code);
        const bool registered =
            std::any_of(known.begin(), known.end(), [&](const State::EntryPointer& entry) {
                return entry->listener == listener && entry->isActive();
            });
        if (!registered) {
            m_state->add(std::make_shared<Registration::Entry>(
                Listening, code, listener, [listener](const Event& event) { listener->handleEvent(event); }));
        }
    }
}

void ActivityNotifier::removeListener(BaseActivityListener* listener)
{
    std::vector<State::EntryPointer> gone;
    {
        const std::lock_guard lock(m_state->mutex);
        auto& entries = m_state->entries;
        const auto firstGone = std::stable_partition(
            entries.begin(), entries.end(), [&](const auto& entry) { return entry->listener != listener; });
        gone.assign(std::make_move_iterator(firstGone), std::make_move_iterator(entries.end()));
        entries.erase(firstGone, entries.end());
    }
    for (const auto& entry : gone) {
        entry->deactivate();
    }
}

ActivityNotifier::Registration ActivityNotifier::addTriggerBefore(EActivityListener::Event code,
                                                                  Callback callback)
{
    return addTrigger(Before, code, std::move(callback));
}

ActivityNotifier::Registration ActivityNotifier::addTriggerAfter(EActivityListener::Event code,
                                                                 Callback callback)
{
    return addTrigger(After, code, std::move(callback));
}

ActivityNotifier::Registration ActivityNotifier::addTrigger(int phase, int code, Callback callback)
{
    auto entry = std::make_shared<Registration::Entry>(phase, code, nullptr, std::move(callback));
    m_state->add(entry);
    return Registration(std::move(entry));
}

void ActivityNotifier::sendEvent(const Event& event)
{
    for (const int phase : {Before, Listening, After}) {
        for (const auto& entry : m_state->matching(phase, event.getCode())) {
            entry->call(event);
        }
    }
}

#pragma once

#include <functional>
#include <memory>
#include <utility>

#include <QList>

#include <orvex/eactivitylistener.h>
#include <orvex/event.h>
#include <utils/export.h>
#include <utils/singleton.h>

class BaseActivityListener;

/// The host's event bus, reached as Singleton<ActivityNotifier>::instance().
///
/// An event is delivered in the thread that sends it, before sendEvent() returns: first to the triggers
/// before it, then to the listeners, then to the triggers after it, each group in the order of registration.
///
/// Taking a registration back waits until a call of it that is running in another thread has returned (a log
/// line tells of more than a second); no call begins meanwhile or later. A callback may take back its own
/// registration. Threads: any. An exception from a callback is logged and goes no further.
class ORVEX_EXPORT ActivityNotifier
{
public:
    using Callback = std::function<void(const Event&)>;

    /// Holds one trigger's registration; destroying it takes the registration back. It may outlive the
    /// notifier.
    class Registration
    {
    public:
        Registration() = default;
        Registration(Registration&&) noexcept = default;
        Registration& operator=(Registration&&) noexcept = default;
        Registration(const Registration&) = delete;
        Registration& operator=(const Registration&) = delete;
        ~Registration() = default;

        void release() { m_handle.reset(); }

    private:
        friend class ActivityNotifier;
        explicit Registration(std::shared_ptr<void> handle)
            : m_handle(std::move(handle))
        {
        }

        std::shared_ptr<void> m_handle;
    };

    ActivityNotifier();
    ActivityNotifier(const ActivityNotifier&) = delete;
    ActivityNotifier& operator=(const ActivityNotifier&) = delete;
    ~ActivityNotifier();

    /// Has `listener`'s handleEvent() called for these event codes; codes that it has already are not added
    /// twice.
    void addListener(BaseActivityListener* listener, const QList<int>& codes);
    /// Takes back all registrations of `listener`; harmless when it has none.
    void removeListener(BaseActivityListener* listener);

    [[nodiscard]] Registration addTriggerBefore(EActivityListener::Event code, Callback callback);
    [[nodiscard]] Registration addTriggerAfter(EActivityListener::Event code, Callback callback);

    void sendEvent(const Event& event);

private:
    struct State;
    Registration addTrigger(int phase, int code, Callback callback);

    std::unique_ptr<State> m_state;
};

extern template class Singleton<ActivityNotifier>;

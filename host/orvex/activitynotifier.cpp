#include <orvex/activitynotifier.h>

#include <algorithm>
#include <utility>

#include <orvex/baseactivitylistener.h>
#include <orvex/callgate.h>

template class Singleton<ActivityNotifier>;

namespace {

enum Phase : int { Before, Listening, After };

struct Entry
{
    Phase phase;
    int code;
    BaseActivityListener* listener;
    CallGate<ActivityNotifier::Callback> gate;
};

}  // namespace

struct ActivityNotifier::State
{
    auto add(Phase phase, int code, BaseActivityListener* listener, Callback callback)
    {
        const QString name = QStringLiteral("Обработчик события %1").arg(code);
        std::shared_ptr<Entry> entry(new Entry{phase, code, listener, {name, std::move(callback)}});
        entries.add(entry);
        return entry;
    }

    CallList<Entry> entries;
};

ActivityNotifier::ActivityNotifier()
    : m_state(std::make_unique<State>())
{
}

ActivityNotifier::~ActivityNotifier() = default;

void ActivityNotifier::addListener(BaseActivityListener* listener, const QList<int>& codes)
{
    for (const int code : codes) {
        const auto known = m_state->entries.matching([&](const Entry& entry) {
            return entry.listener == listener && entry.code == code && entry.gate.isOpen();
        });
        if (known.empty()) {
            m_state->add(Listening, code, listener,
                         [listener](const Event& event) { listener->handleEvent(event); });
        }
    }
}

void ActivityNotifier::removeListener(BaseActivityListener* listener)
{
    const auto gone =
        m_state->entries.matching([listener](const Entry& entry) { return entry.listener == listener; });
    for (const auto& entry : gone) {
        entry->gate.close();
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
    const auto entry = m_state->add(Phase(phase), code, nullptr, std::move(callback));
    return Registration({nullptr, [entry](void*) { entry->gate.close(); }});
}

void ActivityNotifier::sendEvent(const Event& event)
{
    for (const int phase : {Before, Listening, After}) {
        const auto entries = m_state->entries.matching(
            [&](const Entry& entry) { return entry.phase == phase && entry.code == event.getCode(); });
        for (const auto& entry : entries) {
            entry->gate.call([&](const Callback& callback) { callback(event); });
        }
    }
}

#include <orvex/actiondispatcher.h>

#include <algorithm>
#include <atomic>
#include <tuple>

#include <orvex/callgate.h>

template class Singleton<ActionDispatcher>;

namespace {

struct Entry
{
    const BasicPlugin* owner;
    EContext::Code context;
    control::EActionType type;
    std::tuple<ActionTrigger::Order, ActionTrigger::Priority> rank;
    CallGate<ActionTrigger::Function> gate;
    std::atomic<bool> isEnabled = true;
};

}  // namespace

struct ActionDispatcher::State
{
    [[nodiscard]] auto of(const BasicPlugin* owner) const
    {
        return entries.matching([owner](const Entry& entry) { return entry.owner == owner; });
    }

    CallList<Entry> entries;
};

ActionDispatcher::ActionDispatcher()
    : m_state(std::make_unique<State>())
{
}

ActionDispatcher::~ActionDispatcher() = default;

void ActionDispatcher::addTrigger(const BasicPlugin* owner, const ActionTrigger& trigger)
{
    const QString name = QStringLiteral("Триггер действия %1").arg(int(trigger.actionType()));
    m_state->entries.add(std::shared_ptr<Entry>(new Entry{.owner = owner,
                                                          .context = trigger.context(),
                                                          .type = trigger.actionType(),
                                                          .rank = {trigger.order(), trigger.priority()},
                                                          .gate = {name, trigger.function()}}));
}

void ActionDispatcher::removeTriggers(const BasicPlugin* owner)
{
    for (const auto& entry : m_state->of(owner)) {
        entry->gate.close();
    }
}

void ActionDispatcher::setEnabled(const BasicPlugin* owner, bool enabled)
{
    for (const auto& entry : m_state->of(owner)) {
        entry->isEnabled = enabled;
    }
}

QList<EContext::Result> ActionDispatcher::perform(const control::Action& action)
{
    auto entries = m_state->entries.matching([type = action.getType()](const Entry& entry) {
        return entry.type == type && entry.context == EContext::Any;
    });
    std::stable_sort(entries.begin(), entries.end(),
                     [](const auto& a, const auto& b) { return a->rank < b->rank; });
    QList<EContext::Result> results;
    for (const auto& entry : entries) {
        auto result = EContext::NotServed;
        const auto call = [&](const ActionTrigger::Function& trigger) { result = trigger(action); };
        if (entry->isEnabled && entry->gate.call(call)) {
            results.append(result);
        }
    }
    return results;
}

#include <orvex/actiondispatcher.h>

#include <algorithm>
#include <exception>
#include <mutex>
#include <shared_mutex>
#include <tuple>
#include <vector>

#include <log4qt/logmanager.h>

template class Singleton<ActionDispatcher>;

namespace {

struct Entry
{
    const BasicPlugin* owner;
    ActionTrigger trigger;
    bool enabled;
};

EContext::Result call(const ActionTrigger& trigger, const control::Action& action)
{
    const auto logger = [] { return Log4Qt::LogManager::logger(QStringLiteral("orvex")); };
    const int type = static_cast<int>(action.getType());
    try {
        return trigger.function()(action);
    } catch (const std::exception& exception) {
        logger()->error(QStringLiteral("Триггер действия %1 завершился исключением: %2"), type,
                        QString::fromUtf8(exception.what()));
    } catch (...) {
        logger()->error(QStringLiteral("Триггер действия %1 завершился исключением"), type);
    }
    return EContext::NotServed;
}

}  // namespace

struct ActionDispatcher::State
{
    // Held shared while triggers run and alone while triggers come and go: a trigger that is being called
    // stays.
    std::shared_mutex mutex;
    std::vector<Entry> entries;
};

ActionDispatcher::ActionDispatcher()
    : m_state(std::make_unique<State>())
{
}

ActionDispatcher::~ActionDispatcher() = default;

void ActionDispatcher::addTrigger(const BasicPlugin* owner, const ActionTrigger& trigger)
{
    const auto rank = [](const ActionTrigger& t) { return std::tuple(t.order(), t.priority()); };
    const std::lock_guard lock(m_state->mutex);
    const auto place = std::upper_bound(
        m_state->entries.begin(), m_state->entries.end(), rank(trigger),
        [&](const auto& wanted, const Entry& entry) { return wanted < rank(entry.trigger); });
    m_state->entries.insert(place, {owner, trigger, true});
}

void ActionDispatcher::removeTriggers(const BasicPlugin* owner)
{
    const std::lock_guard lock(m_state->mutex);
    std::erase_if(m_state->entries, [owner](const Entry& entry) { return entry.owner == owner; });
}

void ActionDispatcher::setEnabled(const BasicPlugin* owner, bool enabled)
{
    const std::lock_guard lock(m_state->mutex);
    for (Entry& entry : m_state->entries) {
        if (entry.owner == owner) {
            entry.enabled = enabled;
        }
    }
}

QList<EContext::Result> ActionDispatcher::perform(const control::Action& action)
{
    QList<EContext::Result> results;
    const std::shared_lock lock(m_state->mutex);
    for (const Entry& entry : m_state->entries) {
        if (entry.enabled && entry.trigger.actionType() == action.getType()) {
            results.append(call(entry.trigger, action));
        }
    }
    return results;
}

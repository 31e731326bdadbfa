#pragma once

#include <memory>

#include <QList>

#include <orvex/actiontrigger.h>
#include <utils/export.h>
#include <utils/singleton.h>

class BasicPlugin;

/// Performs actions by calling the plug-ins' triggers. Reached as Singleton<ActionDispatcher>::instance().
///
/// Threads: any; several threads may perform actions at once. Once they are being taken back, triggers are
/// not called any more; taking back waits for calls of them that are running in other threads (a log line
/// tells of more than a second), not for those of the calling thread. An exception from a trigger is logged
/// and counts as EContext::NotServed.
class ORVEX_EXPORT ActionDispatcher
{
public:
    ActionDispatcher();
    ActionDispatcher(const ActionDispatcher&) = delete;
    ActionDispatcher& operator=(const ActionDispatcher&) = delete;
    ~ActionDispatcher();

    void addTrigger(const BasicPlugin* owner, const ActionTrigger& trigger);
    void removeTriggers(const BasicPlugin* owner);
    void setEnabled(const BasicPlugin* owner, bool enabled);

    /// Calls every enabled trigger of the action's type that serves it in any situation, by order, priority
    /// and time of registration, in the calling thread. The results are in the order of the calls; none: no
    /// plug-in serves such actions.
    QList<EContext::Result> perform(const control::Action& action);

private:
    struct State;
    std::unique_ptr<State> m_state;
};

extern template class Singleton<ActionDispatcher>;

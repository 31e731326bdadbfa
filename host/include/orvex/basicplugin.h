#pragma once

#include <functional>
#include <vector>

#include <QList>
#include <QSet>
#include <QString>
#include <QtPlugin>

#include <orvex/actiontrigger.h>
#include <orvex/activitynotifier.h>
#include <utils/export.h>

/// Base of everything that the host loads as a plug-in.
///
/// Life: constructed by the loader, init(), actions and events, deinit(), destroyed. init() and deinit() are
/// called in the host's main thread; triggers run in whichever thread performs an action.
class ORVEX_EXPORT BasicPlugin
{
public:
    BasicPlugin();
    BasicPlugin(const BasicPlugin&) = delete;
    BasicPlugin& operator=(const BasicPlugin&) = delete;
    /// Does what deinit() does to the host's side, should it not have been called.
    virtual ~BasicPlugin();

    /// Takes up the work. False: the plug-in has nothing to do here and stays idle.
    virtual bool init() = 0;
    /// Takes back all triggers, handlers and registrations that the plug-in has made with the host, its
    /// registration as a listener included, and forgets its features. Waits for calls that run in other
    /// threads, not for one that it is called from. An overriding function calls this one.
    virtual void deinit();

    /// Whether `feature` has been switched on with setFeature().
    [[nodiscard]] bool isFeatureMatched(const QString& feature) const;
    void setFeature(const QString& feature, bool on = true);

    /// Has `handler` called for an event, until deinit().
    void addHandler(EActivityListener::Event event, std::function<void(const Event&)> handler);

    /// Has the trigger called for its actions, until deinit().
    void addTrigger(const ActionTrigger& trigger);
    /// Between the two the plug-in's triggers are passed over.
    void disableTriggers();
    void enableTriggers();

protected:
    /// Keeps a registration until deinit().
    void keep(ActivityNotifier::Registration registration);

private:
    void takeBack();

    QSet<QString> m_features;
    std::vector<ActivityNotifier::Registration> m_registrations;
};

Q_DECLARE_INTERFACE(BasicPlugin, "su.orvex.AbstractPlugin")

#include <orvex/basicplugin.h>

#include <utility>

#include <orvex/actiondispatcher.h>
#include <orvex/baseactivitylistener.h>

BasicPlugin::BasicPlugin() = default;

BasicPlugin::~BasicPlugin()
{
    takeBack();
}

void BasicPlugin::deinit()
{
    if (auto* listener = dynamic_cast<BaseActivityListener*>(this)) {
        Singleton<ActivityNotifier>::instance()->removeListener(listener);
    }
    takeBack();
}

void BasicPlugin::takeBack()
{
    Singleton<ActionDispatcher>::instance()->removeTriggers(this);
    m_registrations.clear();
    m_features.clear();
}

bool BasicPlugin::isFeatureMatched(const QString& feature) const
{
    return m_features.contains(feature);
}

void BasicPlugin::setFeature(const QString& feature, bool on)
{
    if (on) {
        m_features.insert(feature);
    } else {
        m_features.remove(feature);
    }
}

void BasicPlugin::addHandler(EActivityListener::Event event, std::function<void(const Event&)> handler)
{
    keep(Singleton<ActivityNotifier>::instance()->addTriggerAfter(event, std::move(handler)));
}

void BasicPlugin::addTrigger(const ActionTrigger& trigger)
{
    Singleton<ActionDispatcher>::instance()->addTrigger(this, trigger);
}

void BasicPlugin::disableTriggers()
{
    Singleton<ActionDispatcher>::instance()->setEnabled(this, false);
}

void BasicPlugin::enableTriggers()
{
    Singleton<ActionDispatcher>::instance()->setEnabled(this, true);
}

void BasicPlugin::keep(ActivityNotifier::Registration registration)
{
    m_registrations.push_back(std::move(registration));
}

#include <orvex/baseactivitylistener.h>

#include <orvex/activitynotifier.h>

BaseActivityListener::BaseActivityListener(QObject* parent)
    : QObject(parent)
{
}

BaseActivityListener::~BaseActivityListener()
{
    stopListening();
}

void BaseActivityListener::stopListening()
{
    Singleton<ActivityNotifier>::instance()->removeListener(this);
}

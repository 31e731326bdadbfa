#include "poshost/notificationlog.h"

#include "poshost/detached.h"
#include <orvex/activitynotifier.h>
#include <orvex/events.h>

namespace poshost {

NotificationLog::NotificationLog()
{
    Singleton<ActivityNotifier>::instance()->addListener(this, {EActivityListener::ErrorNotification});
}

NotificationLog::~NotificationLog()
{
    stopListening();
}

void NotificationLog::handleEvent(const Event& event)
{
    const events::ErrorNotification view(event);
    const tr::Tr message = view.notification();
    const Notification notification = {detached(view.id()), detached(message.id()), detached(message.ru())};
    const std::lock_guard lock(m_mutex);
    m_all.append(notification);
}

QList<Notification> NotificationLog::all() const
{
    const std::lock_guard lock(m_mutex);
    return m_all;
}

}  // namespace poshost

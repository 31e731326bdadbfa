#include "poshost/notificationlog.h"

#include <sys/eventfd.h>

#include "poshost/detached.h"
#include <orvex/activitynotifier.h>
#include <orvex/events.h>

namespace poshost {

NotificationLog::NotificationLog()
    : m_arrived(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK))
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
    (void)::eventfd_write(m_arrived.get(), 1);
}

QList<Notification> NotificationLog::all() const
{
    const std::lock_guard lock(m_mutex);
    return m_all;
}

void NotificationLog::clearArrived() const
{
    eventfd_t count = 0;
    (void)::eventfd_read(m_arrived.get(), &count);
}

}  // namespace poshost

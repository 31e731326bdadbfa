#include "poshost/till/notifications.h"

#include <orvex/activitynotifier.h>
#include <orvex/events.h>

namespace poshost {

QString detached(const QString& text)
{
    return text.isEmpty() ? QString() : QString(text.constData(), text.size());
}

Notifications::Notifications()
{
    Singleton<ActivityNotifier>::instance()->addListener(this, {EActivityListener::ErrorNotification});
}

Notifications::~Notifications()
{
    stopListening();
}

void Notifications::handleEvent(const Event& event)
{
    const events::ErrorNotification view(event);
    const tr::Tr message = view.notification();
    {
        const std::lock_guard lock(m_mutex);
        m_all.append({detached(view.id()), detached(message.id()), detached(message.ru())});
    }
    Q_EMIT arrived();
}

QList<Notification> Notifications::all() const
{
    const std::lock_guard lock(m_mutex);
    return m_all;
}

}  // namespace poshost

#include "tests/doubles/noticewatch.h"

#include <utility>

#include <orvex/activitynotifier.h>
#include <orvex/eactivitylistener.h>
#include <orvex/events.h>

NoticeWatch::NoticeWatch()
{
    Singleton<ActivityNotifier>::instance()->addListener(this, {EActivityListener::ErrorNotification});
}

NoticeWatch::~NoticeWatch()
{
    stopListening();
}

void NoticeWatch::handleEvent(const Event& event)
{
    const events::ErrorNotification notice(event);
    const tr::Tr text = notice.notification();
    const std::lock_guard lock(m_mutex);
    m_notices.append(QStringList{notice.id(), text.id(), text.ru()}.join('|'));
}

QStringList NoticeWatch::take()
{
    const std::lock_guard lock(m_mutex);
    return std::exchange(m_notices, {});
}

#include <orvex/events.h>

namespace events {

namespace {
const auto notificationKey = QStringLiteral("notification");
const auto idKey = QStringLiteral("id");
}  // namespace

Wrapper::Wrapper(const Event& event)
    : m_event(event)
{
}

Wrapper::~Wrapper() = default;
ErrorNotification::~ErrorNotification() = default;

tr::Tr ErrorNotification::notification() const
{
    return read<tr::Tr>(notificationKey);
}

void ErrorNotification::setNotification(const tr::Tr& text) const
{
    write(notificationKey, text);
}

QString ErrorNotification::id() const
{
    return read<QString>(idKey);
}

void ErrorNotification::setId(const QString& id) const
{
    write(idKey, id);
}

}  // namespace events

#include <orvex/events.h>

namespace events {

namespace {
const auto Notification = QStringLiteral("notification");
const auto Id = QStringLiteral("id");
}  // namespace

Wrapper::Wrapper(const Event& event)
    : m_event(event)
{
}

Wrapper::~Wrapper() = default;
ErrorNotification::~ErrorNotification() = default;

tr::Tr ErrorNotification::notification() const
{
    return read<tr::Tr>(Notification);
}

void ErrorNotification::setNotification(const tr::Tr& text) const
{
    write(Notification, text);
}

QString ErrorNotification::id() const
{
    return read<QString>(Id);
}

void ErrorNotification::setId(const QString& id) const
{
    write(Id, id);
}

}  // namespace events

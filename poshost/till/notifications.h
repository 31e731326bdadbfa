#pragma once

#include <mutex>

#include <QList>
#include <QString>

#include <orvex/baseactivitylistener.h>

namespace poshost {

/// A message for the cashier as it was sent; an empty text withdraws the one with the same id.
struct Notification
{
    QString id;
    QString textId;
    QString text;
};

/// A copy with memory of its own. A text that a plug-in made from a literal lies in the plug-in's library
/// and is gone with it.
[[nodiscard]] QString detached(const QString& text);

/// Takes down the notifications (event 250) that are sent while it lives. Nothing in it points into the
/// plug-in: it may outlive the library. Threads: any.
class Notifications : public BaseActivityListener
{
    Q_OBJECT

public:
    Notifications();
    ~Notifications() override;

    void handleEvent(const Event& event) override;

    /// In the order in which they were sent.
    [[nodiscard]] QList<Notification> all() const;

Q_SIGNALS:
    /// Sent in the thread that sends the notification.
    void arrived();

private:
    mutable std::mutex m_mutex;
    QList<Notification> m_all;
};

}  // namespace poshost

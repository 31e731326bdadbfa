#pragma once

#include <QObject>
#include <QString>
#include <QTimer>

namespace poshost {

/// While it lives, the host's progress indications are shown on standard error: on a terminal with something
/// that turns and is wiped out afterwards, otherwise as one line. For the thread of an event loop that runs
/// meanwhile.
class Progress : public QObject
{
    Q_OBJECT

public:
    /// Where nothing can turn, `isNeeded` says whether lines are shown.
    explicit Progress(bool isNeeded = true);
    ~Progress() override;

private:
    void show(const QString& text);
    void turn();
    void hide();

    QTimer m_timer;
    QString m_text;
    int m_turns = 0;
};

}  // namespace poshost

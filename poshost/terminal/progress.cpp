#include "poshost/terminal/progress.h"

#include <array>
#include <chrono>

#include <unistd.h>

#include "poshost/terminal/output.h"
#include "poshost/terminal/terminal.h"
#include <orvex/dialog.h>

namespace poshost {

Progress::Progress(bool isNeeded)
{
    connect(&m_timer, &QTimer::timeout, this, &Progress::turn);
    const bool turns = isTerminal(STDERR_FILENO);
    if (!turns && !isNeeded) {
        return;
    }
    // Called in the thread that makes the check.
    Dialog::setPresenter([this, turns](const tr::Tr& title, const tr::Tr& rest) -> std::function<void()> {
        const QString text = oneLine(title.ru() + u' ' + rest.ru());
        if (!turns) {
            printError(text + u'\n');
            return {};
        }
        QMetaObject::invokeMethod(this, [this, text] { show(text); });
        return [this] { QMetaObject::invokeMethod(this, [this] { hide(); }); };
    });
}

Progress::~Progress()
{
    Dialog::setPresenter({});
    hide();
}

void Progress::show(const QString& text)
{
    m_text = text;
    m_timer.start(std::chrono::milliseconds(120));
    turn();
}

/// The cursor waits at the start of the line, so that a log line overwrites it.
void Progress::turn()
{
    static constexpr std::array<char16_t, 4> shapes = {u'|', u'/', u'-', u'\\'};
    const QChar shape(shapes.at(size_t(m_turns++) % shapes.size()));
    printError(QStringLiteral("\x1b[K%1 %2\r").arg(shape).arg(m_text));
}

void Progress::hide()
{
    if (m_timer.isActive()) {
        m_timer.stop();
        printError(QStringLiteral("\x1b[K"));
    }
}

}  // namespace poshost

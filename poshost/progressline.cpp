#include "poshost/progressline.h"

#include <array>
#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <stop_token>
#include <thread>

#include <unistd.h>

#include <QString>

#include "poshost/detached.h"
#include "poshost/output.h"
#include "poshost/terminal.h"
#include <orvex/dialog.h>

namespace poshost {

namespace {

QString textOf(const tr::Tr& title, const tr::Tr& text)
{
    return text.isEmpty() ? detached(title.ru()) : title.ru() + u' ' + text.ru();
}

/// Turns beside the text until it is destroyed. The cursor waits at the start of the line, so that a log
/// line overwrites it.
class Spinner
{
public:
    explicit Spinner(const QString& text)
        : m_thread([this, text](const std::stop_token& stop) { turn(text, stop); })
    {
    }

private:
    void turn(const QString& text, const std::stop_token& stop)
    {
        static constexpr std::array<char16_t, 4> shapes = {u'|', u'/', u'-', u'\\'};
        std::unique_lock lock(m_mutex);
        for (size_t i = 0; !stop.stop_requested(); ++i) {
            printError(QStringLiteral("\x1b[K%1 %2\r").arg(QChar(shapes[i % shapes.size()])).arg(text));
            m_wake.wait_for(lock, stop, std::chrono::milliseconds(120), [] { return false; });
        }
        printError(QStringLiteral("\x1b[K"));
    }

    std::mutex m_mutex;
    std::condition_variable_any m_wake;
    std::jthread m_thread;
};

std::function<void()> show(const tr::Tr& title, const tr::Tr& text)
{
    if (!isTerminal(STDERR_FILENO)) {
        printError(textOf(title, text) + u'\n');
        return {};
    }
    return [spinner = std::make_shared<Spinner>(textOf(title, text))]() mutable { spinner.reset(); };
}

}  // namespace

ProgressLine::ProgressLine()
{
    Dialog::setPresenter(show);
}

ProgressLine::~ProgressLine()
{
    Dialog::setPresenter({});
}

}  // namespace poshost

#include "poshost/verbs/cashdesk.h"

#include <algorithm>
#include <cerrno>

#include <unistd.h>

#include <QSocketNotifier>

#include "poshost/language.h"
#include "poshost/reports/judgement.h"
#include "poshost/reports/statustext.h"
#include "poshost/terminal/fatalerror.h"
#include "poshost/terminal/input.h"
#include "poshost/terminal/output.h"
#include "poshost/terminal/progress.h"
#include "poshost/terminal/signals.h"
#include "poshost/till/codes.h"

namespace poshost {

namespace {

constexpr char endOfInput = '\x04';  // Ctrl-D
constexpr char eraseLine = '\x15';   // Ctrl-U
constexpr char backspace = '\x08';
constexpr char erase = '\x7f';

bool isEditing(char byte)
{
    return byte == endOfInput || byte == eraseLine || byte == backspace || byte == erase;
}

/// What bytes look like when they are typed.
QByteArray echoOf(const QByteArray& typed)
{
    QByteArray echo;
    for (const char byte : typed) {
        const bool isControl = (byte >= 0 && byte < ' ') || byte == erase;
        if (byte == '\x1d') {
            echo += "<GS>";
        } else if (!isControl) {
            echo += byte;
        }
    }
    return echo;
}

}  // namespace

CashDesk::CashDesk(const Till& till, Deal deal, Colours colours)
    : m_till(till)
    , m_deal(deal)
    , m_colours(colours)
    , m_echoes(m_terminal.isRaw() && isTerminal(STDOUT_FILENO))
{
}

int CashDesk::run()
{
    printReport(standHead(m_till.hasStand()) + (m_terminal.isRaw() ? commandHelp() : QString()));
    (void)showNotices();
    prompt();
    try {
        work();
    } catch (const FatalError&) {
        if (Signals::received() != 0) {
            showEnd();
        }
        throw;
    }
    showEnd();
    return exitStatus();
}

void CashDesk::work()
{
    while (!m_isOver) {
        waitForInput();
        m_isOver = !readOn() || m_isOver;
    }
}

/// Shows what comes meanwhile.
void CashDesk::waitForInput()
{
    SignalLoop loop;
    QSocketNotifier input(STDIN_FILENO, QSocketNotifier::Read);
    bool isReady = false;
    bool isSuspended = false;
    QObject::connect(&input, &QSocketNotifier::activated, &loop, [&] {
        isReady = true;
        input.setEnabled(false);
        loop.quit();
    });
    QObject::connect(&Signals::instance(), &Signals::suspensionRequested, &loop, [&] {
        isSuspended = true;
        loop.quit();
    });
    QObject::connect(&m_till.notifications(), &Notifications::arrived, &loop, &QEventLoop::quit);
    while (!isReady) {
        const bool hasNews = showNotices();
        if (std::exchange(isSuspended, false)) {
            m_terminal.suspend();
            prompt();
        } else if (hasNews) {
            prompt();
        }
        loop.run();
        Signals::throwIfReceived();
    }
}

/// False at the end of the input.
bool CashDesk::readOn()
{
    std::array<char, 4096> bytes{};
    const ssize_t count = ::read(STDIN_FILENO, bytes.data(), bytes.size());
    if (count < 0 && errno != EINTR && errno != EAGAIN && errno != EIO) {  // EIO: the terminal has gone
        refuse(QStringLiteral("standard input: cannot read the codes: %1").arg(systemError(errno)));
    }
    if (count == 0 || (count < 0 && errno == EIO)) {
        if (!m_lines.pending().isEmpty()) {
            takeLine(m_lines.takePending());
        }
        return false;
    }
    for (ssize_t i = 0; i < count && !m_isOver; ++i) {
        takeByte(bytes.at(size_t(i)));
    }
    return true;
}

void CashDesk::takeByte(char byte)
{
    if (m_terminal.isRaw() && isEditing(byte)) {
        edit(byte);
        return;
    }
    if (const auto line = m_lines.add(byte)) {
        printOut(m_echoes ? QStringLiteral("\n") : QString());
        takeLine(*line);
        prompt();
    } else if (m_echoes) {
        printOut(echoOf(QByteArray(1, byte)));
    }
}

void CashDesk::edit(char byte)
{
    m_isOver = byte == endOfInput && m_lines.pending().isEmpty();
    if (byte == endOfInput) {
        return;
    }
    const QByteArray erased = byte == eraseLine ? m_lines.takePending() : m_lines.eraseLast();
    const qsizetype cells = QString::fromUtf8(echoOf(erased)).size();
    printOut(m_echoes ? QByteArray("\b \b").repeated(cells) : QByteArray());
}

void CashDesk::takeLine(const QByteArray& line)
{
    const QByteArray bytes = withoutByteOrderMark(line);
    const QString text = QString::fromUtf8(bytes);
    if (line.size() > maxScanLine) {
        complain(
            said({u"the line is too long: scan it again", u"слишком длинная строка: отсканируйте ещё раз"}));
    } else if (text.trimmed().isEmpty()) {
        printReport(said({u"Empty line: scan a code or type \"help\"\n",
                          u"Пустая строка: отсканируйте код или наберите «помощь»\n"}));
    } else if (text.toUtf8() != bytes) {
        complain(said({u"the line is not UTF-8: look at the scanner's settings",
                       u"строка не в UTF-8: проверьте настройку сканера"}));
    } else if (const auto command = commandOf(text)) {
        execute(*command);
    } else if (const ParsedCode parsed = parseCode(bytes); parsed.fault != CodeFault::None) {
        complain(faultWords(parsed.fault, text));
    } else {
        takeCode(parsed.code);
    }
}

void CashDesk::execute(CashierCommand command)
{
    switch (command) {
    case CashierCommand::Quit:
        m_isOver = true;
        break;
    case CashierCommand::Refund:
        m_deal = m_deal == Deal::Sale ? Deal::Refund : Deal::Sale;
        printOut(said(m_deal == Deal::Sale ? Text{u"Mode: sale\n", u"Режим: продажа\n"}
                                           : Text{u"Mode: refund\n", u"Режим: возврат\n"}));
        break;
    case CashierCommand::Basket:
        printReport(basketList(basket(), m_deal));
        break;
    case CashierCommand::Help:
        printReport(commandHelp());
        break;
    }
}

void CashDesk::takeCode(const MarkingCode& code)
{
    if (basket().holds(code)) {
        show(Mark::Attention, repeatedTitle(m_deal), {code.toReadable(), basketSum(basket(), m_deal)});
        return;
    }
    check(code);
    (void)showNotices();
}

void CashDesk::check(const MarkingCode& code)
{
    const Progress progress(false);
    const Verification verification = m_till.verify({code}, m_deal);
    if (!verification.isServed()) {
        throw FatalError(exitstatus::NotServed, m_till.notServedNote());
    }
    const Judgement judgement = judge(verification);
    if (judgement.verdict == Verdict::Passed || judgement.verdict == Verdict::Unverified) {
        basket().accept(code, judgement.remarks.join(QLatin1String(", ")),
                        judgement.verdict == Verdict::Unverified);
    } else {
        basket().refuse(code);
    }
    show(markOf(judgement.verdict), titleOf(judgement.verdict, m_deal),
         QStringList(code.toReadable()) + judgement.reasons + judgement.remarks +
             QStringList(basketSum(basket(), m_deal)));
}

/// In the width that the terminal has now.
void CashDesk::show(Mark mark, const QString& title, const QStringList& lines) const
{
    printReport(banner(mark, title, lines, styleOf(STDOUT_FILENO, m_colours)));
}

void CashDesk::complain(const QString& what)
{
    ++m_unreadable;
    show(Mark::Attention, said({u"NOT READ", u"НЕ ПРОЧИТАНО"}), {what});
}

/// True when there was something to show.
bool CashDesk::showNotices()
{
    const QList<Notification> fresh = m_till.notifications().all().sliced(m_noticesSeen);
    m_noticesSeen += fresh.size();
    bool hasShown = false;
    for (const Notification& notice : fresh) {
        const QString earlier = m_notices.take(notice.id);
        hasShown |= !notice.text.isEmpty() || !earlier.isEmpty();
        if (!notice.text.isEmpty()) {
            m_notices.insert(notice.id, notice.text);
            show(Mark::Attention, said({u"NOTICE FOR THE CASHIER", u"СООБЩЕНИЕ КАССИРУ"}),
                 {oneLine(notice.text)});
        } else if (!earlier.isEmpty()) {
            printReport(
                said({u"\nNotice withdrawn: %1\n", u"\nСообщение снято: %1\n"}).arg(oneLine(earlier)));
        }
    }
    return hasShown;
}

void CashDesk::showEnd() const
{
    QString text = u'\n' + basketList(m_baskets.front(), Deal::Sale);
    if (!m_baskets.back().items().isEmpty()) {
        text += basketList(m_baskets.back(), Deal::Refund);
    }
    if (const auto refused = m_baskets.front().refused() + m_baskets.back().refused(); refused > 0) {
        text += said({u"Refused: %1\n", u"Отказано: %1\n"}).arg(refused);
    }
    if (m_unreadable > 0) {
        text += said({u"Lines not read: %1\n", u"Не прочитано строк: %1\n"}).arg(m_unreadable);
    }
    printReport(text);
}

void CashDesk::prompt() const
{
    if (m_echoes && !m_isOver) {
        printOut(said(m_deal == Deal::Sale ? Text{u"\nSale> ", u"\nПродажа> "}
                                           : Text{u"\nRefund> ", u"\nВозврат> "}));
        printOut(echoOf(m_lines.pending()));
    }
}

int CashDesk::exitStatus() const
{
    const Basket& sold = m_baskets.front();
    const Basket& returned = m_baskets.back();
    if (sold.refused() + returned.refused() > 0 || m_unreadable > 0) {
        return exitstatus::Bad;
    }
    return sold.hasUnverified() || returned.hasUnverified() ? exitstatus::Unverified : exitstatus::Good;
}

}  // namespace poshost

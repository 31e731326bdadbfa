#include "poshost/cashier.h"

#include <algorithm>
#include <cerrno>
#include <optional>

#include <poll.h>
#include <unistd.h>

#include "poshost/checkcodes.h"
#include "poshost/exitstatus.h"
#include "poshost/failure.h"
#include "poshost/output.h"
#include "poshost/progressline.h"
#include "poshost/rawterminal.h"
#include "poshost/terminal.h"

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

bool hasCyrillic(const QString& text)
{
    return std::any_of(text.begin(), text.end(),
                       [](QChar character) { return character.script() == QChar::Script_Cyrillic; });
}

/// What a byte looks like when it is typed.
QByteArray echoOf(char byte)
{
    if (byte == '\x1d') {
        return "<GS>";
    }
    const bool isControl = (byte >= 0 && byte < ' ') || byte == erase;
    return isControl ? QByteArray() : QByteArray(1, byte);
}

QString faultWords(CodeFault fault, const QString& text)
{
    switch (fault) {
    case CodeFault::Characters:
        return hasCyrillic(text)
                   ? QStringLiteral("в коде русские буквы: переключите раскладку клавиатуры на латинскую")
                   : QStringLiteral("в коде посторонние знаки: отсканируйте ещё раз");
    case CodeFault::TooLong:
        return QStringLiteral("код слишком длинный: отсканируйте ещё раз");
    case CodeFault::Empty:
    case CodeFault::None:
        break;
    }
    return QStringLiteral("код пуст: отсканируйте ещё раз");
}

struct Titles
{
    const char* accepted;
    const char* refused;
    const char* repeated;
};

/// By Deal.
constexpr std::array<Titles, 2> titles = {{
    {"ПРОШЁЛ: можно продавать", "ОТКАЗ: не продавать", "УЖЕ В ЧЕКЕ: второй раз не добавлен"},
    {"ПРОШЁЛ: можно принять возврат", "ОТКАЗ: возврат не принимать",
     "УЖЕ В ВОЗВРАТЕ: второй раз не добавлен"},
}};

}  // namespace

Cashier::Cashier(Till& till, Deal deal)
    : m_till(till)
    , m_deal(deal)
    , m_style{showsColours(STDOUT_FILENO), terminalWidth(STDOUT_FILENO)}
{
}

int Cashier::run()
{
    const RawTerminal terminal;
    m_isTyped = terminal.isRaw();
    m_echoes = m_isTyped && isTerminal(STDOUT_FILENO);
    printOut(m_isTyped ? commandHelp() : QString());
    (void)showNotices();
    prompt();
    while (!m_isOver) {
        waitForInput();
        m_isOver = !readOn() || m_isOver;
    }
    showEnd();
    return exitStatus();
}

void Cashier::waitForInput()
{
    std::array sources = {pollfd{STDIN_FILENO, POLLIN, 0}, pollfd{m_till.signals().stopFd(), POLLIN, 0},
                          pollfd{m_till.notifications().arrivedFd(), POLLIN, 0}};
    while (sources[0].revents == 0) {
        const int ready = ::poll(sources.data(), sources.size(), -1);
        m_till.signals().throwIfReceived();
        if (ready > 0 && sources[2].revents != 0 && showNotices()) {
            prompt();
        }
    }
}

/// False at the end of the input.
bool Cashier::readOn()
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

void Cashier::takeByte(char byte)
{
    if (m_isTyped && isEditing(byte)) {
        edit(byte);
        return;
    }
    if (const auto line = m_lines.add(byte)) {
        printOut(m_echoes ? QStringLiteral("\n") : QString());
        takeLine(*line);
        prompt();
    } else if (m_echoes) {
        printOut(echoOf(byte));
    }
}

void Cashier::edit(char byte)
{
    m_isOver = byte == endOfInput && m_lines.pending().isEmpty();
    if (byte == endOfInput) {
        return;
    }
    do {
        const QByteArray erased = m_lines.eraseLast();
        const qsizetype cells =
            erased.size() == 1 ? echoOf(erased.front()).size() : qsizetype(!erased.isEmpty());
        printOut(m_echoes ? QByteArray("\b \b").repeated(cells) : QByteArray());
    } while (byte == eraseLine && !m_lines.pending().isEmpty());
}

void Cashier::takeLine(const ScanLine& line)
{
    const QString text = QString::fromUtf8(line.text);
    if (line.tooLong) {
        complain(QStringLiteral("слишком длинная строка: отсканируйте ещё раз"));
    } else if (text.trimmed().isEmpty()) {
        printOut(QStringLiteral("Пустая строка: отсканируйте код или наберите «помощь»\n"));
    } else if (text.toUtf8() != line.text) {
        complain(QStringLiteral("строка не в UTF-8: проверьте настройку сканера"));
    } else if (const auto command = commandOf(text)) {
        obey(*command);
    } else if (const ParsedCode parsed = parseCode(line.text); parsed.fault != CodeFault::None) {
        complain(faultWords(parsed.fault, text));
    } else {
        takeCode(parsed.code);
    }
}

void Cashier::obey(CashierCommand command)
{
    switch (command) {
    case CashierCommand::Quit:
        m_isOver = true;
        break;
    case CashierCommand::Refund:
        m_deal = m_deal == Deal::Sale ? Deal::Refund : Deal::Sale;
        printOut(m_deal == Deal::Sale ? QStringLiteral("Режим: продажа\n")
                                      : QStringLiteral("Режим: возврат\n"));
        break;
    case CashierCommand::Basket:
        printOut(basketList(basket(), m_deal));
        break;
    case CashierCommand::Help:
        printOut(commandHelp());
        break;
    }
}

void Cashier::takeCode(const MarkingCode& code)
{
    if (basket().holds(code)) {
        const QStringList lines = {code.toReadable(), basketSum(basket(), m_deal)};
        printOut(
            banner(Mark::Attention, QString::fromUtf8(titles.at(size_t(m_deal)).repeated), lines, m_style));
        return;
    }
    check(code);
    (void)showNotices();
}

void Cashier::check(const MarkingCode& code)
{
    std::optional<ProgressLine> progress;
    if (isTerminal(STDERR_FILENO)) {
        progress.emplace();
    }
    const Verification verification = verify({code}, m_till.settings(), m_deal == Deal::Refund);
    m_till.signals().throwIfReceived();
    if (!verification.isServed()) {
        throw Failure(exitstatus::NotServed,
                      QStringLiteral("the plug-in does not serve \"%1\"; use --service crpt")
                          .arg(m_till.settings().service));
    }
    const Judgement judgement = judge(verification, m_deal);
    if (judgement.isAccepted) {
        basket().accept(code, judgement.remarks.join(QLatin1String(", ")));
    } else {
        basket().refuse(code);
    }
    const Titles& title = titles.at(size_t(m_deal));
    const QStringList lines = QStringList(code.toReadable()) + judgement.reasons + judgement.remarks +
                              QStringList(basketSum(basket(), m_deal));
    printOut(banner(judgement.isAccepted ? Mark::Good : Mark::Bad,
                    QString::fromUtf8(judgement.isAccepted ? title.accepted : title.refused), lines,
                    m_style));
}

void Cashier::complain(const QString& what)
{
    ++m_unreadable;
    printOut(banner(Mark::Attention, QStringLiteral("НЕ ПРОЧИТАНО"), {what}, m_style));
}

/// True when there was something to show.
bool Cashier::showNotices()
{
    m_till.notifications().clearArrived();
    const QList<Notification> all = m_till.notifications().all();
    QString text;
    for (const Notification& notice : all.sliced(m_noticesSeen)) {
        const QString earlier = m_notices.take(notice.id);
        if (!notice.text.isEmpty()) {
            m_notices.insert(notice.id, notice.text);
            text +=
                banner(Mark::Attention, QStringLiteral("СООБЩЕНИЕ КАССИРУ"), {oneLine(notice.text)}, m_style);
        } else if (!earlier.isEmpty()) {
            text += QStringLiteral("\nСообщение снято: %1\n").arg(oneLine(earlier));
        }
    }
    m_noticesSeen = all.size();
    printOut(text);
    return !text.isEmpty();
}

void Cashier::showEnd() const
{
    QString text = u'\n' + basketList(m_baskets.front(), Deal::Sale);
    if (!m_baskets.back().items().isEmpty()) {
        text += basketList(m_baskets.back(), Deal::Refund);
    }
    if (const auto refused = m_baskets.front().refused() + m_baskets.back().refused(); refused > 0) {
        text += QStringLiteral("Отказано: %1\n").arg(refused);
    }
    if (m_unreadable > 0) {
        text += QStringLiteral("Не прочитано строк: %1\n").arg(m_unreadable);
    }
    printOut(text);
}

void Cashier::prompt() const
{
    if (m_echoes && !m_isOver) {
        printOut(m_deal == Deal::Sale ? QStringLiteral("\nПродажа> ") : QStringLiteral("\nВозврат> "));
        for (const char byte : m_lines.pending()) {
            printOut(echoOf(byte));
        }
    }
}

int Cashier::exitStatus() const
{
    const bool isGood =
        m_baskets.front().refused() == 0 && m_baskets.back().refused() == 0 && m_unreadable == 0;
    return isGood ? exitstatus::Good : exitstatus::Bad;
}

}  // namespace poshost

#pragma once

#include <array>

#include <QMap>
#include <QString>

#include "poshost/terminal/terminal.h"
#include "poshost/till/till.h"
#include "poshost/verbs/basket.h"
#include "poshost/verbs/cashierscreen.h"
#include "poshost/verbs/scanlines.h"

namespace poshost {

/// A cashier's work at a till: takes codes and commands from standard input as a scanner or a person types
/// them, has each code checked as it comes, and shows what came of it on standard output. For the thread of
/// the event loop.
class CashDesk
{
public:
    /// `till` has been started.
    CashDesk(const Till& till, Deal deal, Colours colours);

    /// Works until "quit", the end of the input or a signal, prints the summary and returns the exit status:
    /// Good when no code stands refused, every line could be read and no good was sold without a verdict.
    /// Throws FatalError: for a signal, an output that cannot be written, a service that the plug-in does not
    /// serve.
    [[nodiscard]] int run();

private:
    void work();
    void waitForInput();
    [[nodiscard]] bool readOn();
    void takeByte(char byte);
    void edit(char byte);
    void takeLine(const QByteArray& line);
    void execute(CashierCommand command);
    void takeCode(const MarkingCode& code);
    void check(const MarkingCode& code);
    void show(Mark mark, const QString& title, const QStringList& lines) const;
    void complain(const QString& what);
    bool showNotices();
    void showEnd() const;
    void prompt() const;

    [[nodiscard]] Basket& basket() { return m_baskets.at(size_t(m_deal)); }
    [[nodiscard]] int exitStatus() const;

    const Till& m_till;
    Deal m_deal;
    const Colours m_colours;
    RawTerminal m_terminal;
    const bool m_echoes;  ///< what is typed is shown here, the terminal does not
    bool m_isOver = false;
    ScanLines m_lines;
    std::array<Basket, 2> m_baskets;   ///< by Deal
    QMap<QString, QString> m_notices;  ///< those that stand, by their ids
    qsizetype m_noticesSeen = 0;
    int m_unreadable = 0;
};

}  // namespace poshost

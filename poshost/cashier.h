#pragma once

#include <array>

#include <QMap>
#include <QString>

#include "poshost/basket.h"
#include "poshost/cashierscreen.h"
#include "poshost/judgement.h"
#include "poshost/scanlines.h"
#include "poshost/till.h"
#include "poshost/verifytable.h"

namespace poshost {

/// A cashier's work at a till: takes codes and commands from standard input as a scanner or a person types
/// them, has each code checked as it comes, and shows what came of it on standard output. Main thread.
class Cashier
{
public:
    /// `till` has been started.
    Cashier(Till& till, Deal deal);

    /// Works until "quit" or the end of the input and returns the exit status: Good when no code stands
    /// refused and every line could be read. Throws Failure: for a signal, an output that cannot be written,
    /// a service that the plug-in does not serve.
    [[nodiscard]] int run();

private:
    void waitForInput();
    [[nodiscard]] bool readOn();
    void takeByte(char byte);
    void edit(char byte);
    void takeLine(const ScanLine& line);
    void obey(CashierCommand command);
    void takeCode(const MarkingCode& code);
    void check(const MarkingCode& code);
    void complain(const QString& what);
    bool showNotices();
    void showEnd() const;
    void prompt() const;

    [[nodiscard]] Basket& basket() { return m_baskets.at(size_t(m_deal)); }
    [[nodiscard]] int exitStatus() const;

    Till& m_till;
    Deal m_deal;
    const TableStyle m_style;
    bool m_isTyped = false;  ///< at a terminal, by a scanner or a person
    bool m_echoes = false;   ///< what is typed is shown here, the terminal does not
    bool m_isOver = false;
    ScanLines m_lines;
    std::array<Basket, 2> m_baskets;   ///< by Deal
    QMap<QString, QString> m_notices;  ///< those that stand, by their ids
    qsizetype m_noticesSeen = 0;
    int m_unreadable = 0;
};

}  // namespace poshost

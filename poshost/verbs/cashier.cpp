#include <memory>

#include <CLI/App.hpp>

#include "poshost/terminal/fatalerror.h"
#include "poshost/terminal/output.h"
#include "poshost/terminal/signals.h"
#include "poshost/verbs/cashdesk.h"
#include "poshost/verbs/verbs.h"
#include <log4qt/logmanager.h>

namespace poshost {

namespace {

/// A till is up for days, and its log is rotated meanwhile. When its terminal goes, its input ends.
void reopenLogOnHangup()
{
    if (Singleton<Config>::instance()->getString(QStringLiteral("Log:file")).isEmpty()) {
        return;
    }
    QObject::connect(&Signals::instance(), &Signals::hungUp, [] {
        if (QString error; !Log4Qt::LogManager::reopen(&error)) {
            printNote(error);
        }
    });
    Signals::stayOnHangup();
}

int runCashier(const Options& options, const CheckOptions& check)
{
    Till till(options, check, Log4Qt::Level::Off);
    reopenLogOnHangup();
    if (!till.start()) {
        return exitstatus::NotServed;
    }
    till.warmUp();
    return CashDesk(till, check.refund ? Deal::Refund : Deal::Sale, options.colours).run();
}

}  // namespace

void addCashier(CommandLine& line)
{
    const auto check = std::make_shared<CheckOptions>();
    CLI::App* verb =
        line.addVerb("cashier", "Check codes one by one as a scanner types them on standard input",
                     [check](const Options& options) { return runCashier(options, *check); });
    addCheckOptions(*verb, *check);
    verb->footer(
        "Typed in place of a code, in English or Russian: refund, basket, help, quit.\n"
        "Exit status: 0 no code stands refused, every line could be read and every good has a verdict,\n"
        "5 the same but for goods without a verdict, 1 otherwise; others as of verify.");
}

}  // namespace poshost

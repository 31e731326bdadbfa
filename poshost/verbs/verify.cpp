#include <memory>

#include <unistd.h>

#include <CLI/App.hpp>
#include <QFile>

#include "poshost/language.h"
#include "poshost/reports/explanationtext.h"
#include "poshost/reports/json.h"
#include "poshost/reports/table.h"
#include "poshost/terminal/fatalerror.h"
#include "poshost/terminal/output.h"
#include "poshost/terminal/progress.h"
#include "poshost/till/codes.h"
#include "poshost/till/till.h"
#include "poshost/verbs/verbs.h"

namespace poshost {

namespace {

/// What one check may hold.
constexpr qsizetype maxCodes = 10'000;

struct VerifyOptions
{
    bool json = false;
    bool explain = false;
    QString codesFile;
    CheckOptions check;
};

QList<MarkingCode> sampleBasket()
{
    QFile basket(QStringLiteral(":/samples/basket.txt"));
    if (!basket.open(QIODevice::ReadOnly)) {
        refuse(QStringLiteral("verify: no codes given, and the sample basket is not in this program"));
    }
    return codesOfLines(basket.readAll(), QStringLiteral("sample basket"));
}

/// Those that were given; else for the stand the sample basket, else those on standard input.
QList<MarkingCode> codesFor(const Options& options, const QString& file)
{
    const bool hasCodes = !options.codes.isEmpty() || !file.isEmpty();
    if (!hasCodes && options.stand) {
        return sampleBasket();
    }
    if (!hasCodes && isTerminal(STDIN_FILENO)) {
        refuse(QStringLiteral("verify: no codes; give some, or a file of them with --codes-file"));
    }
    QList<MarkingCode> codes = readCodes(options.codes, hasCodes ? file : QStringLiteral("-"));
    if (codes.size() > maxCodes) {
        refuse(QStringLiteral("verify: %1 codes; one check may hold %2, check the others in another")
                   .arg(QString::number(codes.size()), QString::number(maxCodes)));
    }
    return codes;
}

void print(const Verification& verification, const Options& options, const VerifyOptions& own)
{
    if (own.json) {
        printOut(toJson(verification));
    } else if (verification.isServed()) {
        printReport(toTable(verification, styleOf(STDOUT_FILENO, options.colours)));
        if (verification.story) {
            printReport(said({u"\nHow the check went\n", u"\nХод проверки\n"}) +
                        explanationText(*verification.story, decisionOf(verification)));
        }
    }
}

int runVerify(const Options& options, const VerifyOptions& own)
{
    const QList<MarkingCode> codes = codesFor(options, own.codesFile);
    Till till(options, own.check, Log4Qt::Level::Warn);
    Verification verification;
    verification.codes = codes;
    verification.stand = till.hasStand();
    if (till.start()) {
        const Progress progress;
        till.warmUp();
        verification = till.verify(codes, own.check.refund ? Deal::Refund : Deal::Sale, own.explain);
    }
    verification.notifications = till.notifications().all();
    print(verification, options, own);
    if (verification.triggerResult && !verification.isServed()) {
        printNote(till.notServedNote());
    }
    return verification.exitStatus();
}

}  // namespace

void addVerify(CommandLine& line)
{
    const auto own = std::make_shared<VerifyOptions>();
    CLI::App* verb = line.addVerb("verify", "Check marking codes as a till does",
                                  [own](const Options& options) { return runVerify(options, *own); });
    verb->add_flag("--json", own->json, "Print one JSON object instead of a table");
    verb->add_flag("--explain", own->explain,
                   "Tell how the check went: sites, answers, what was done about them, where the time went");
    addCheckOptions(*verb, own->check);
    addText(*verb, "--codes-file", own->codesFile, "FILE", "Codes, one a line; \"-\" is standard input");
}

}  // namespace poshost

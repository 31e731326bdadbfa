#include <CLI/App.hpp>

#include "poshost/terminal/fatalerror.h"
#include "poshost/terminal/output.h"
#include "poshost/till/scenario.h"
#include "poshost/verbs/verbs.h"

namespace poshost {

namespace {

int listScenarios()
{
    const QMap<QString, ShippedScenario> scenarios = shippedScenarios();
    for (auto scenario = scenarios.begin(); scenario != scenarios.end(); ++scenario) {
        printReport(QStringLiteral("%1  %2\n").arg(scenario.key().leftJustified(16), scenario->shows));
    }
    return exitstatus::Good;
}

}  // namespace

void addScenarios(CommandLine& line)
{
    line.addVerb("scenarios", "List the stand's scenarios", [](const Options&) { return listScenarios(); })
        ->footer(
            "Exit status: 0 they were listed, 2 the command line is wrong, 4 standard output could not be "
            "written.");
}

void addVerbs(CommandLine& line)
{
    addVerify(line);
    addCashier(line);
    addPing(line);
    addEvent(line);
    addDoctor(line);
    addStory(line);
    addScenarios(line);
}

}  // namespace poshost

// host PLUGIN SETTINGS CODE...: has the plug-in check codes, as a point-of-sale application does.
#include <iostream>

#include <QCoreApplication>

#include <config/config.h>
#include <contracts/initverifyservice.h>
#include <contracts/metatypes.h>
#include <contracts/verify.h>
#include <log4qt/logmanager.h>
#include <orvex/actiondispatcher.h>
#include <orvex/basicplugin.h>
#include <orvex/pluginloader.h>
#include <orvex/task.h>

void say(const QString& line)
{
    std::cout << qPrintable(line + '\n');  // in one go: notices come from several threads
}

void sendEvents(ActivityNotifier& notifier, const Config& settings)
{
    const events::marking::InitVerifyService service{Event(EActivityListener::InitVerifyService)};
    service.setService("crpt");
    service.setSection("MarkedGoods");
    service.setHosts(settings.getList("Shop:hosts"));
    service.setKeys(settings.getList("Shop:keys"));
    notifier.sendEvent(service.event());                                   // 256
    notifier.sendEvent(Event(EActivityListener::NetworkUp));               // 10
    notifier.sendEvent(Event(EActivityListener::NetworkSettingsChanged));  // 11
    notifier.sendEvent(Event(EActivityListener::OnlineServicesRefresh));   // 172
    notifier.sendEvent(Event(EActivityListener::LocalModulesSetUp));       // 96
}

void showNotice(const Event& event)  // 250
{
    const events::ErrorNotification notice(event);
    const QString text = notice.notification().ru();
    say("notice " + notice.id() + (text.isEmpty() ? " is taken back" : ": " + text));
}

bool isOperatorReachable()  // action 223
{
    const control::Action action(control::EActionType::CheckConnection);
    control::args::Plugin(action).setPluginName("crpt");
    Singleton<ActionDispatcher>::instance()->perform(action);
    const auto task = action.value("pingTask").value<QSharedPointer<BasicTask>>();
    const auto result = task ? Singleton<TaskManager>::instance()->start(task).get() : nullptr;
    return result && result->toString().endsWith(" true");
}

QString reasonOf(const CheckMarkingCodesResult& result, const MarkingCode& code)
{
    const auto failed = result.failedCodes.value(code);
    const auto kind = QString::number(static_cast<int>(result.errorKind()));
    return QString(" (kind %1, flags 0x%2, \"%3\")")
        .arg(kind, QString::number(failed.status.toInt(), 16), failed.message);
}

bool sell(const MarkingCode& code, const QString& key)  // action 253
{
    const control::Action action(control::EActionType::VerifyMarking);
    const control::args::marking::Verify check(action, "crpt");
    check.setMarkingCodes({code});
    check.setApiKey(key);
    check.setRequestTimeout(std::chrono::seconds(5));
    check.setOperationTimeout(std::chrono::seconds(15));
    Singleton<ActionDispatcher>::instance()->perform(action);
    const CheckMarkingCodesResult result = check.verifyResult();
    const bool isSold = result.passedCodes.contains(code) && !result.failedCodes.contains(code);
    if (!isSold) {
        say("refused: " + code.toReadable() + reasonOf(result, code));
    } else if (result.errorKind() == http::ErrorKind::SalePermitted) {
        say("sold without a verdict: " + code.toReadable());
    } else {
        say("sold: " + code.toReadable());
    }
    return isSold;
}

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.size() < 3) {
        std::cerr << "usage: host PLUGIN SETTINGS CODE...\n";
        return 2;
    }
    contracts::registerMetaTypes();
    Log4Qt::LogSettings log;
    log.level = Log4Qt::Level::Error;
    Log4Qt::LogManager::configure(log);
    Config& settings = *Singleton<Config>::instance();
    PluginLoader loader(arguments.value(1));
    QString error;
    if (!settings.load(arguments.value(2), &error) || !loader.load("CrptService", &error)) {
        std::cerr << qPrintable(error) << '\n';
        return 2;
    }
    ActivityNotifier& notifier = *Singleton<ActivityNotifier>::instance();
    const auto notices = notifier.addTriggerAfter(EActivityListener::ErrorNotification, showNotice);
    bool isAllSold = loader.plugin()->init();
    if (isAllSold) {
        sendEvents(notifier, settings);
        say(isOperatorReachable() ? "the operator answers" : "the operator does not answer");
        for (const QString& code : arguments.mid(3)) {
            isAllSold = sell(MarkingCode(code), settings.getList("Shop:keys").value(0)) && isAllSold;
        }
        loader.plugin()->deinit();
    } else {
        say("the plug-in is idle");
    }
    const bool isUnloaded = loader.unload();
    say(isUnloaded ? "unloaded" : "the plug-in stays loaded");
    return isUnloaded && isAllSold ? 0 : 1;
}

#pragma once

#include <QString>

/// What the plug-in itself writes into the log ("crptservice"), for it and for whoever explains the log.
namespace plugin::messages {

inline const auto serviceUnused =
    QStringLiteral("В настоящий момент сервис верификации 'crpt' не используется ни одним плагином "
                   "для проверок маркировок");
inline const auto threadEnds = QStringLiteral("Работа CRPT остановлена");
inline const auto threadGone = QStringLiteral("Поток CRPT завершен");
inline const auto threadAwaited = QStringLiteral(
    "Выгрузка ожидает завершения потока CRPT: его удерживает обработчик уведомления или запрос");
inline const auto checkBroken = QStringLiteral("Проверка кодов маркировок прервана исключением");
inline const auto offlineBroken = QStringLiteral("Проверка в режиме офлайн прервана исключением");
inline const auto offlineCheck = QStringLiteral("Проверка в режиме офлайн");
/// Codes that passed and that did not, error kind, and the last reply: one of the three below.
inline const auto checkEnded =
    QStringLiteral("Итог проверки: прошли %1, отказано %2, вид ошибки %3, последний ответ: %4");
/// In place of the second number when codes were refused: the number, and each code with its reasons.
inline const auto refusedCodes = QStringLiteral("%1: %2");
inline const auto refusedCode = QStringLiteral("%1 (%2)");
inline const auto refusedByMessage = QStringLiteral("«%1»");
inline const auto refusedMore = QStringLiteral("и ещё %1");
inline const auto replyOfSite = QStringLiteral("HTTP %1 %2");
inline const auto replyOfModule = QStringLiteral("ЛМЧЗ");
inline const auto noReply = QStringLiteral("нет");
inline const auto moduleNotReady = QStringLiteral("ЛМЧЗ не готов к работе");
inline const auto moduleBusy =
    QStringLiteral("Время ожидания обмена с ЛМЧЗ вышло, остаётся результат онлайн-проверки");

}  // namespace plugin::messages

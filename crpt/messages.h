#pragma once

#include <QString>

/// What the online client writes into the log ("crptclient"), for it and for whoever explains the log.
/// %1, %2: in the order in which the values stand.
namespace crpt::messages {

// Hosts and keys
inline const auto hostAdded = QStringLiteral("Добавлен хост: %1 (%2)");
inline const auto keyAdded = QStringLiteral("Добавлен ключ X-API-KEY: %1 (%2)");

// List update
inline const auto noKeys = QStringLiteral("Нет ключей для работы с CDN-площадками");
inline const auto updateRunning = QStringLiteral("Процесс обновления списка CDN-площадок уже запущен");
inline const auto updateBegins = QStringLiteral("Получение списка CDN-площадок");
inline const auto updateFailed = QStringLiteral("Не удалось обновить список площадок");
inline const auto updateBroken = QStringLiteral("Обновление списка площадок прервано исключением");
inline const auto updateCutShort = QStringLiteral("Обновление списка площадок прервано через %1 сек.");
inline const auto sitesLeftOut = QStringLiteral("Площадок в списке: %1, опрошены первые %2");
inline const auto siteUnhealthy = QStringLiteral("Некорректное состояние площадки");
inline const auto siteMeasured = QStringLiteral("Время ответа CDN: %1 мс.");
inline const auto siteChosen = QStringLiteral("Выбрана CDN: %1 (%2 мс)");

// Check and failover
inline const auto checkBegins = QStringLiteral("Проверка кодов маркировок: [%1]");
inline const auto searchBegins = QStringLiteral("Нет доступных площадок, пытаемся обновить список площадок");
inline const auto noSites = QStringLiteral("Нет доступных площадок после обновления списка");
inline const auto quarantined = QStringLiteral("Площадка %1 помечена как недоступная на %2 минут");
inline const auto nextSite = QStringLiteral("Переключение на следующую CDN-площадку");
inline const auto crossBorderRetry =
    QStringLiteral("Сервис трансграничной проверки кодов недоступен, повторный запрос");
inline const auto crossBorderPermitted =
    QStringLiteral("Сервис трансграничной проверки кодов недоступен, добавление товара разрешено");
inline const auto emergency =
    QStringLiteral("В ГИС МТ введена аварийная ситуация, запрет на продажу отключен");
inline const auto protocolError = QStringLiteral("Ошибка протокола");
inline const auto budgetSpent =
    QStringLiteral("Суммарное время ожидания ответа от сервера превысило %1 мсек.");
inline const auto noToken =
    QStringLiteral("Токен для проверки доступных площадок не задан. Товар не будет добавлен");
inline const auto tokenRefused = QStringLiteral("Ошибка авторизации");

}  // namespace crpt::messages

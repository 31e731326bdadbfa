#pragma once

#include <QString>

/// What the client of the local modules writes into the log ("lmchz"), for it and for whoever explains the
/// log.
namespace lmchz::messages {

inline const auto statusAsked = QStringLiteral("Получение статуса ЛМЧЗ");
inline const auto status = QStringLiteral(" статус: %1");
inline const auto tokenUnknown = QStringLiteral("Токен для проверки товара в ЛМЧЗ не найден");
inline const auto checkUnavailable = QStringLiteral("Проверка через ЛМЧЗ недоступна");
inline const auto initBegins = QStringLiteral("Инициализация ЛМЧЗ");
inline const auto greyListSwitched = QStringLiteral("%1 серых списков GTIN");

}  // namespace lmchz::messages

#include "benchmarks/figure.h"

#include <algorithm>
#include <cmath>

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QStringList>

namespace bench {

namespace {

QString number(double value)
{
    return value >= 100 ? QString::number(value, 'f', 0) : QString::number(value, 'g', 3);
}

QString cell(const QString& text, int width)
{
    return text.leftJustified(width) + ' ';
}

}  // namespace

std::optional<double> Row::ratio() const
{
    if (value) {
        return value;
    }
    return other > 0 ? std::optional(ours / other) : std::nullopt;
}

QString toTable(const Figure& figure)
{
    constexpr int wide = 44, narrow = 14;
    QString table = figure.name + ": " + figure.title + '\n';
    table += cell("", wide) + cell(figure.ourName, narrow) + cell(figure.otherName, narrow) +
             cell("ratio", 8) + cell("goal", 8) + '\n';
    for (const Row& row : figure.rows) {
        const auto measured = [&](double value) {
            return value > 0 ? number(value) + ' ' + row.unit : QString();
        };
        QString line = cell(row.what, wide) + cell(measured(row.ours), narrow) +
                       cell(measured(row.other), narrow) +
                       cell(row.ratio() ? QString::number(*row.ratio(), 'f', 2) : QString(), 8) +
                       cell(row.goal ? QString::number(*row.goal, 'f', 2) : QString(), 8) +
                       (row.isMet() ? "" : "MISSED ") + row.note;
        table += QString(line).trimmed().isEmpty() ? QString() : line + '\n';
    }
    return table;
}

QByteArray toJson(const std::vector<Figure>& figures)
{
    QJsonArray all;
    for (const Figure& figure : figures) {
        QJsonArray rows;
        for (const Row& row : figure.rows) {
            QJsonObject object{
                {"what", row.what}, {"unit", row.unit}, {"ours", row.ours}, {"met", row.isMet()}};
            if (row.other > 0) {
                object["other"] = row.other;
            }
            if (row.ratio()) {
                object["ratio"] = *row.ratio();
            }
            if (row.goal) {
                object["goal"] = *row.goal;
            }
            if (!row.note.isEmpty()) {
                object["note"] = row.note;
            }
            rows.append(object);
        }
        all.append(QJsonObject{{"name", figure.name},
                               {"title", figure.title},
                               {"ours", figure.ourName},
                               {"other", figure.otherName},
                               {"rows", rows}});
    }
    return QJsonDocument(QJsonObject{{"figures", all}}).toJson();
}

double percentile(std::vector<double> values, double share)
{
    const auto index =
        static_cast<std::ptrdiff_t>(std::llround(share * static_cast<double>(values.size() - 1)));
    std::nth_element(values.begin(), values.begin() + index, values.end());
    return values[static_cast<size_t>(index)];
}

double exponent(const std::vector<double>& sizes, const std::vector<double>& costs)
{
    const auto count = static_cast<double>(sizes.size());
    double x = 0, y = 0, xx = 0, xy = 0;
    for (size_t i = 0; i < sizes.size(); ++i) {
        const double size = std::log(sizes[i]), cost = std::log(costs[i]);
        x += size;
        y += cost;
        xx += size * size;
        xy += size * cost;
    }
    return (count * xy - x * y) / (count * xx - x * x);
}

}  // namespace bench

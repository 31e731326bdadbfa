#include <algorithm>
#include <cmath>

#include "benchmarks/figure.h"

namespace bench {

namespace {

constexpr int Width = 820, Left = 300, BarHeight = 14, RowHeight = 40, Top = 64;

/// From the shortest to the longest bar there may be a factor of a thousand and more.
struct Scale
{
    double least = 0;
    double most = 0;

    [[nodiscard]] double lengthOf(double value) const
    {
        constexpr double room = Width - Left - 170;
        return value <= 0 ? 0 : std::max(2.0, room * std::log10(value / least) / std::log10(most / least));
    }
};

Scale scaleOf(const Figure& figure)
{
    std::vector<double> values;
    for (const Row& row : figure.rows) {
        for (const double value : {row.ours, row.other}) {
            if (value > 0) {
                values.push_back(value);
            }
        }
    }
    if (values.empty()) {
        return {1, 10};
    }
    const auto [least, most] = std::minmax_element(values.begin(), values.end());
    return {std::pow(10, std::floor(std::log10(*least)) - 0.5), *most * 1.01};
}

QString bar(int y, double length, const char* colour, const QString& text)
{
    return QStringLiteral("<rect x=\"%1\" y=\"%2\" width=\"%3\" height=\"%4\" fill=\"%5\"/>"
                          "<text x=\"%6\" y=\"%7\">%8</text>\n")
        .arg(Left)
        .arg(y)
        .arg(length, 0, 'f', 1)
        .arg(BarHeight)
        .arg(colour)
        .arg(Left + length + 6, 0, 'f', 1)
        .arg(y + BarHeight - 3)
        .arg(text);
}

QString legend(const Figure& figure, const char* ours, const char* other)
{
    return QStringLiteral(
               "<rect x=\"12\" y=\"36\" width=\"12\" height=\"12\" fill=\"%1\"/>"
               "<text x=\"30\" y=\"46\">%2</text>"
               "<rect x=\"200\" y=\"36\" width=\"12\" height=\"12\" fill=\"%3\"/>"
               "<text x=\"218\" y=\"46\">%4</text>"
               "<text x=\"%5\" y=\"46\" text-anchor=\"end\" fill=\"#666\">logarithmic scale</text>\n")
        .arg(ours, figure.ourName.toHtmlEscaped(), other, figure.otherName.toHtmlEscaped())
        .arg(Width - 12);
}

}  // namespace

QByteArray toPicture(const Figure& figure)
{
    constexpr auto ours = "#2e7d32", other = "#90a4ae";
    const Scale scale = scaleOf(figure);
    const int height = Top + RowHeight * static_cast<int>(figure.rows.size()) + 12;
    QString svg = QStringLiteral("<svg xmlns=\"http://www.w3.org/2000/svg\" viewBox=\"0 0 %1 %2\" "
                                 "font-family=\"sans-serif\" font-size=\"12\">\n<title>%3</title>\n"
                                 "<rect width=\"%1\" height=\"%2\" fill=\"#fff\"/>"
                                 "<text x=\"12\" y=\"22\" font-size=\"15\" font-weight=\"bold\">%3</text>\n")
                      .arg(Width)
                      .arg(height)
                      .arg(figure.title.toHtmlEscaped()) +
                  legend(figure, ours, other);
    int y = Top;
    for (const Row& row : figure.rows) {
        const auto text = [&](double value) { return measured(value, row.unit).toHtmlEscaped(); };
        QString ratio;
        if (row.ratio()) {
            ratio = QStringLiteral(" · ratio %1").arg(*row.ratio(), 0, 'f', 2);
        }
        svg += QStringLiteral("<text x=\"%1\" y=\"%2\" text-anchor=\"end\">%3</text>\n")
                   .arg(Left - 8)
                   .arg(y + BarHeight + 2)
                   .arg(row.what.toHtmlEscaped());
        svg += bar(y, scale.lengthOf(row.ours), ours, text(row.ours) + ratio);
        if (row.other > 0) {
            svg += bar(y + BarHeight + 2, scale.lengthOf(row.other), other, text(row.other));
        }
        y += RowHeight;
    }
    return (svg + "</svg>\n").toUtf8();
}

}  // namespace bench

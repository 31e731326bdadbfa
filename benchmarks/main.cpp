// bench: how far the plug-in is above the floor. Each figure is measured in one run, the two sides by turns.

#include <chrono>
#include <fstream>
#include <functional>
#include <iostream>
#include <map>

#include <CLI/CLI.hpp>
#include <QCoreApplication>

#include "benchmarks/benchmarks.h"

namespace {

using bench::Figure;

const std::vector<std::pair<std::string, std::function<Figure()>>> benchmarks = {
    {"check", bench::measureCheck},   {"reply", bench::measureReply},
    {"growth", bench::measureGrowth}, {"failover", bench::measureFailover},
    {"start", bench::measureStart},   {"contention", bench::measureContention},
};

void write(const std::string& file, const QByteArray& content)
{
    std::ofstream out(file, std::ios::binary);
    out << content.toStdString();
    out.close();
    if (!out) {
        throw std::runtime_error("cannot write " + file);
    }
}

QByteArray contentOf(const std::string& file)
{
    std::ifstream in(file, std::ios::binary);
    const std::string content{std::istreambuf_iterator<char>(in), {}};
    if (!in.is_open() || in.bad()) {
        throw std::runtime_error("cannot read " + file);
    }
    return QByteArray::fromStdString(content);
}

int printTables(const std::vector<std::string>& files)
{
    std::vector<QByteArray> runs;
    runs.reserve(files.size());
    for (const std::string& file : files) {
        runs.push_back(contentOf(file));
    }
    std::cout << bench::toMarkdown(runs).toStdString();
    return 0;
}

int run(const std::vector<std::string>& names, const std::string& json, const std::string& pictures)
{
    std::vector<Figure> figures;
    bool met = true;
    for (const auto& [name, measure] : benchmarks) {
        if (!names.empty() && std::find(names.begin(), names.end(), name) == names.end()) {
            continue;
        }
        const auto begin = std::chrono::steady_clock::now();
        figures.push_back(measure());
        const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - begin;
        std::cout << toTable(figures.back()).toStdString() << "  (" << int(taken.count()) << " s)\n"
                  << std::endl;
        for (const bench::Row& row : figures.back().rows) {
            met &= row.isMet();
        }
        if (!pictures.empty()) {
            write(pictures + "/performance-" + name + ".svg", toPicture(figures.back()));
        }
    }
    if (!json.empty()) {
        write(json, toJson(figures));
    }
    std::cout << (met ? "every goal is met" : "a goal is MISSED") << std::endl;
    return met ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    std::vector<std::string> names, runs;
    std::string json, pictures, operatorUrl;
    int codes = 0;
    int requestedCodes = 0;
    CLI::App app("Measures the plug-in against the floor. Exit status 1: a goal is missed.");
    std::vector<std::string> known;
    known.reserve(benchmarks.size());
    for (const auto& [name, measure] : benchmarks) {
        known.push_back(name);
    }
    app.add_option("NAME", names, "What to measure, by default everything")->check(CLI::IsMember(known));
    app.add_option("--json", json, "File for the figures");
    app.add_option("--pictures", pictures, "Folder for a picture of each figure");
    app.add_option("--tables", runs,
                   "Measure nothing: tables in Markdown from the --json files of some runs");
    app.add_option("--start-once", operatorUrl)->group("");
    app.add_option("--check-once", codes)->group("");
    app.add_option("--request-once", requestedCodes)->group("");
    CLI11_PARSE(app, argc, argv);
    try {
        if (!operatorUrl.empty()) {
            return bench::startOnce(QString::fromStdString(operatorUrl));
        }
        if (codes > 0) {
            return bench::checkOnce(codes);
        }
        if (requestedCodes > 0) {
            return bench::requestOnce(requestedCodes);
        }
        if (!runs.empty()) {
            return printTables(runs);
        }
        return run(names, json, pictures);
    } catch (const std::exception& error) {
        std::cerr << "bench: " << error.what() << '\n';
        return 2;
    }
}

/// Surveys that nobody measured.
#pragma once

#include "survey/record.h"
#include "survey/verdict.h"

/// A point with these samples, each of enough passes and without evidence.
inline survey::Point madeUpPoint(const std::string& pattern, std::uint64_t size,
                                 const std::vector<double>& samples) {
    survey::Point point;
    point.plan = "hierarchy";
    point.parameters = survey::normalised({.pattern = pattern,
                                           .sizeBytes = size,
                                           .wordBytes = 64,
                                           .cpus = {0},
                                           .nodes = machine::NumberList{0},
                                           .pages = Kestrel::pkSystem});
    point.arrayBytes = size;
    point.samples = samples;
    for (std::size_t i = 0; i < samples.size(); ++i) {
        survey::Detail detail;
        detail.started = "2026-01-01T00:00:00.000Z";
        detail.round = static_cast<unsigned>(i) + 1;
        detail.order = 1;
        detail.workers = {{.cpu = 0, .work = 1e9, .ticks = 1000000, .passes = 10}};
        point.details.push_back(detail);
    }
    return point;
}

inline survey::Session madeUpSession(std::vector<survey::Point> points) {
    survey::Session session;
    session.id = std::string(32, '0');
    session.started = session.ended = "2026-01-01T00:00:00.000Z";
    session.plan = "hierarchy";
    session.complete = true;
    session.rounds = 5;
    session.counterHz = 1e9;
    session.counterConstant = true;
    session.program = {.version = "1", .commit = "c", .compiler = "g++"};
    session.facts = {{"schema", "machine-facts/1"}};
    session.settings = survey::Json::array();
    session.points = std::move(points);
    survey::judge(session);
    return session;
}

inline survey::Survey madeUpSurvey(std::vector<survey::Session> sessions) {
    return {.host = {.name = "host", .processor = "processor", .cpus = 2},
            .sessions = std::move(sessions)};
}

/// The report of a check: one HTML page for the technician's records and for support.

#include "check_output.h"

namespace host {

namespace {

constexpr const char* kHead = R"(<!DOCTYPE html>
<html lang="en">
<head>
<meta charset="utf-8">
<meta name="viewport" content="width=device-width, initial-scale=1">
<title>solvane check</title>
<style>
:root { color-scheme: light dark; --line: #8886; --bad: #c22; --good: #282; --open: #a60; }
body { font: 15px/1.45 system-ui, sans-serif; max-width: 62rem; margin: 2rem auto; padding: 0 1rem; }
h1 { font-size: 1.5rem; } h2 { font-size: 1.1rem; margin-top: 2rem; }
table { border-collapse: collapse; width: 100%; table-layout: fixed; }
th:nth-child(1) { width: 1.5rem; } th:nth-child(2) { width: 14%; } th:nth-child(3) { width: 18%; }
th:nth-child(5), th:nth-child(6) { width: 5rem; } th:nth-child(6) { text-align: right; } td { overflow-wrap: anywhere; }
th, td { text-align: left; vertical-align: top; padding: .35rem .6rem; border-bottom: 1px solid var(--line); }
td.outcome { white-space: nowrap; font-weight: 600; } td.took { text-align: right; }
.ok td.outcome { color: var(--good); } .FAIL td.outcome { color: var(--bad); }
.not td.outcome { color: var(--open); }
small, .advice { opacity: .8; } pre { overflow: auto; border: 1px solid var(--line); padding: .6rem; font-size: 12px; }
.verdict { border: 2px solid var(--line); padding: .6rem 1rem; }
@media (prefers-color-scheme: dark) { :root { --bad: #f77; --good: #7c7; --open: #fb5; } }
@media print { :root { color-scheme: light; } body { margin: 0; max-width: none; font-size: 11px; }
  pre { white-space: pre-wrap; overflow: visible; } tr, .verdict { break-inside: avoid; } }
</style>
</head>
<body>
)";

std::string Escaped(std::string_view text) {
    std::string escaped;
    for (const char letter : text) {
        switch (letter) {
        case '&':
            escaped += "&amp;";
            break;
        case '<':
            escaped += "&lt;";
            break;
        case '>':
            escaped += "&gt;";
            break;
        case '"':
            escaped += "&quot;";
            break;
        default:
            escaped += letter;
        }
    }
    return escaped;
}

std::string Text(const Json& value) {
    return value.is_string() ? Escaped(value.get<std::string>()) : "";
}

std::string Row(const Json& step, unsigned number) {
    const std::string outcome = step["outcome"];
    std::string row = "<tr class=\"" + outcome.substr(0, outcome.find(' ')) + "\"><td>" +
                      std::to_string(number) + "</td><td>" + Text(step["title"]) + "<br><small>" +
                      Text(step["done"]) + "</small></td><td>" + Text(step["expected"]) +
                      "</td><td>";
    for (const Json& seen : step["seen"]) {
        row += Text(seen) + "<br>";
    }
    if (!step["advice"].is_null()) {
        row += "<span class=\"advice\">" + Text(step["advice"]) + "</span>";
    }
    return row + "</td><td class=\"outcome\">" + Text(step["outcome"]) +
           "</td><td class=\"took\">" + Took(step) + "</td></tr>\n";
}

std::string List(const char* title, const Json& items) {
    if (items.empty()) {
        return "";
    }
    std::string list = std::string("<h2>") + title + "</h2>\n<ul>\n";
    for (const Json& item : items) {
        list += "<li>" + Text(item) + "</li>\n";
    }
    return list + "</ul>\n";
}

std::string Pre(const char* title, const std::string& text) {
    return std::string("<h2>") + title + "</h2>\n<pre>" + Escaped(text) + "</pre>\n";
}

} // namespace

std::string ReportPage(const std::vector<Json>& steps, const Json& verdict,
                       const std::vector<std::string>& log) {
    std::string page = kHead;
    page += "<h1>solvane check: " + Text(verdict["verdict"]) + "</h1>\n<p>" +
            Text(verdict["time"]) + " · " + Text(verdict["system"]) + " · machine " +
            Text(verdict["machine"]) + " · user " + Text(verdict["user"]) + "</p>\n";
    if (!verdict["rig"].is_null()) {
        page += "<p><strong>No camera: " + Text(verdict["rig"]) + "</strong></p>\n";
    }
    if (!verdict["says"].is_null()) {
        page += "<div class=\"verdict\"><p><strong>" + Text(verdict["says"]) +
                "</strong></p>\n<p>Likely: " + Text(verdict["likely"]) +
                "</p>\n<p>Tell apart: " + Text(verdict["tell_apart"]) + "</p></div>\n";
    }
    page += "<h2>Steps</h2>\n<table><thead><tr><th></th><th>done</th><th>expected</th><th>seen</th>"
            "<th></th><th>took</th></tr></thead><tbody>\n";
    std::string objects;
    unsigned number = 0;
    const auto dump = [](const Json& object) {
        return object.dump(-1, ' ', false, Json::error_handler_t::replace) + "\n";
    };
    for (const Json& step : steps) {
        page += Row(step, ++number);
        objects += dump(step);
    }
    page += "</tbody></table>\n";
    page += List("Seen by no program, but by a meter", verdict["not_seen"]);
    if (verdict.contains("changed")) {
        page += List("Changed since the baseline", verdict["changed"]);
    }
    std::string lines;
    for (const std::string& line : log) {
        lines += line + "\n";
    }
    page += Pre("The library's log", lines);
    page += Pre("For programs, and as a baseline", objects + dump(verdict));
    return page + "</body>\n</html>\n";
}

} // namespace host

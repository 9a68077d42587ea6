#include "timesheet/TimesheetCSV.h"

namespace VarnholtQueryLib {

namespace {

constexpr const char* kLineEnd = "\r\n";
constexpr const char* kUncategorized = "(uncategorized)";

void appendLine(std::string& csv, const std::string& date, const std::string& category, std::int64_t seconds) {
    csv += csvField(date) + "," + csvField(category) + "," + std::to_string(seconds) + "," + hoursText(seconds) +
           kLineEnd;
}

}  // namespace

std::string hoursText(std::int64_t seconds) {
    const std::int64_t hundredths = (seconds * 100 + 1800) / 3600;
    std::string fraction = std::to_string(hundredths % 100);
    if (fraction.size() < 2) fraction.insert(0, "0");
    return std::to_string(hundredths / 100) + "." + fraction;
}

std::string csvField(const std::string& field) {
    if (field.find_first_of(",\"\r\n") == std::string::npos) return field;
    std::string quoted = "\"";
    for (const char c : field) {
        quoted += c;
        if (c == '"') quoted += '"';
    }
    return quoted + "\"";
}

std::string timesheetCSV(const JSON& document) {
    const JSON& data = document.at("data");
    std::string csv = std::string("date,category,seconds,hours") + kLineEnd;
    for (const JSON& day : data.at("days")) {
        const std::string date = day.at("date").get<std::string>();
        for (const JSON& category : day.at("categories")) {
            const auto seconds = category.at("seconds").get<std::int64_t>();
            if (seconds > 0) appendLine(csv, date, category.at("name").get<std::string>(), seconds);
        }
        const auto uncategorized = day.at("uncategorized_seconds").get<std::int64_t>();
        if (uncategorized > 0) appendLine(csv, date, kUncategorized, uncategorized);
    }
    for (const JSON& category : data.at("categories")) {
        appendLine(csv, "total", category.at("name").get<std::string>(), category.at("seconds").get<std::int64_t>());
    }
    appendLine(csv, "total", kUncategorized, data.at("uncategorized").at("seconds").get<std::int64_t>());
    return csv;
}

}  // namespace VarnholtQueryLib

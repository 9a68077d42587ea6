#include "cli/TimesheetCommandBuilder.h"

#include <utility>

#include "platform/PlatformPorts.h"

namespace VarnholtQueryLib {

namespace {

// Checked as the second source arrives, before a file is read: the answer
// must not depend on which of two sources would have won.
CLIError bothSources() { return CLIError::invalidTimeRange("Use either --category or --categories, not both."); }

}  // namespace

TimesheetCommandBuilder::TimesheetCommandBuilder() : period_("timesheet") {}

void TimesheetCommandBuilder::category(const std::string& text) {
    if (categoriesFileGiven_) throw bothSources();
    const auto equals = text.find('=');
    if (equals == std::string::npos) {
        throw CLIError::invalidTimeRange("--category '" + text +
                                         "' must be NAME=RULE[|RULE...]: a name, '=', then rules such as "
                                         "text:WORDS, app:NAME or entity:[KIND=]VALUE, separated by '|'.");
    }
    TimesheetCategory category;
    category.name = text.substr(0, equals);
    const std::string rules = text.substr(equals + 1);
    std::size_t start = 0;
    while (!rules.empty()) {
        const std::size_t bar = rules.find('|', start);
        category.rules.push_back(rules.substr(start, bar == std::string::npos ? std::string::npos : bar - start));
        if (bar == std::string::npos) break;
        start = bar + 1;
    }
    categories_.push_back(std::move(category));
    categoryGiven_ = true;
}

void TimesheetCommandBuilder::categoriesFile(const std::string& path, const FileSystemPort& files) {
    if (categoryGiven_) throw bothSources();
    if (categoriesFileGiven_) throw CLIError::invalidTimeRange("Give --categories once: one file holds every category.");
    const std::optional<std::string> text = files.readFile(path);
    if (!text) throw CLIError::invalidTimeRange("Cannot read the categories file '" + path + "'.");
    try {
        categories(categoriesFromJSONText(*text, "The categories file '" + path + "'"));
    } catch (const InvalidCategories& invalid) {
        throw CLIError::invalidTimeRange(invalid.what());
    }
    categoriesFileGiven_ = true;
}

void TimesheetCommandBuilder::categories(std::vector<TimesheetCategory> categories) {
    for (TimesheetCategory& category : categories) categories_.push_back(std::move(category));
}

void TimesheetCommandBuilder::format(const std::string& text) {
    if (text == "json") {
        format_ = AnswerFormat::json;
    } else if (text == "csv") {
        format_ = AnswerFormat::csv;
    } else if (text == "html") {
        format_ = AnswerFormat::html;
    } else {
        throw CLIError::invalidTimeRange("--format must be json, csv or html, not '" + text + "'.");
    }
}

Command::Timesheet TimesheetCommandBuilder::build() const {
    const Command::Summary period = period_.build();
    try {
        checkCategories(categories_);
    } catch (const InvalidCategories& invalid) {
        throw CLIError::invalidTimeRange(invalid.what());
    }
    if (format_ == AnswerFormat::csv && period.maxChars) {
        throw CLIError::invalidTimeRange(
            "--max-chars does not apply to --format csv, which prints every day; leave one of them out.");
    }
    Command::Timesheet timesheet;
    timesheet.preset = period.preset;
    timesheet.since = period.since;
    timesheet.rangeFrom = period.rangeFrom;
    timesheet.rangeTo = period.rangeTo;
    timesheet.weekStart = period.weekStart;
    timesheet.idleSeconds = period.idleSeconds;
    timesheet.maxChars = period.maxChars;
    timesheet.categories = categories_;
    timesheet.format = format_;
    return timesheet;
}

}  // namespace VarnholtQueryLib

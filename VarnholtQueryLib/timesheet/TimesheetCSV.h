#pragma once

#include <cstdint>
#include <string>

#include "output/JSONWriter.h"

namespace VarnholtQueryLib {

// A timesheet as a spreadsheet or an invoice takes it: CSV after RFC 4180
// (CRLF after every line, a field in double quotes, its quotes doubled,
// when it holds a comma, a double quote, a CR or an LF), made from the
// answer's own printed numbers, so both forms always agree:
//
//   date,category,seconds,hours
//   per day, one line per category whose seconds are above 0, in the
//   order given, then one for the uncategorized time, named
//   "(uncategorized)", when above 0;
//   then one "total" line (in the date column) for every category, 0
//   included, and one for "(uncategorized)".
//
// Hours are the seconds / 3600, halves up, with two decimals.
//
// REQUIRES: `document` is a successful timesheet answer
// (makeTimesheetResponse).
std::string timesheetCSV(const JSON& document);

// `seconds` as hours with two decimals, halves up: 5400 is "1.50", 18 is
// "0.01", 17 is "0.00". REQUIRES: seconds >= 0.
std::string hoursText(std::int64_t seconds);

// `field` as a CSV field: as it is, or in double quotes with its quotes
// doubled when it holds a comma, a double quote, a CR or an LF.
std::string csvField(const std::string& field);

}  // namespace VarnholtQueryLib

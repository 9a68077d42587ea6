# The include check against a small tree (include_rules/) whose files break
# each kind of rule once: it must fail and name exactly these offences, in
# this order, and nothing that keeps the rules.
#
#   cmake -DCHECK=<CheckIncludeRules.cmake> -DRULES=<IncludeRules.txt> -DTREE=<tree>
#         -P check-include-rules.cmake
execute_process(
  COMMAND ${CMAKE_COMMAND} -DSOURCE_DIR=${TREE} -DRULES=${RULES} -P ${CHECK}
  OUTPUT_VARIABLE output
  ERROR_VARIABLE output
  RESULT_VARIABLE result)
if(result EQUAL 0)
  message(FATAL_ERROR "The include check passed a tree that breaks its rules:\n${output}")
endif()

set(expected
  "VarnholtQueryLib/newroom: no room of the include rules names this folder"
  "VarnholtQueryLib/mcp/ToolMethods.cpp:2: \"cli/CLI.h\": mcp may include cli, but not this header of it"
  "VarnholtQueryLib/summary/SQLiteSummaryQuery.cpp:3: \"IndexedTimelineStatement.h\": summary may not include timeline_sqlite"
  "VarnholtQueryLib/summary/SummaryUseCase.cpp:3: <sqlite3.h>: summary may not include sqlite3 (only its adapters may)"
  "VarnholtQueryLib/summary/SummaryUseCase.cpp:7: \"cli/CLIError.h\": summary may not include cli"
  "VarnholtQueryLib/summary/SummaryUseCase.cpp:8: \"SQLiteReadConnection.h\": summary may not include sqlite_support (only its adapters may)"
  "VarnholtQueryLib/period/TimePresets.cpp:2: \"cli/CommandBuilders.h\": period may not include cli"
  "VarnholtQueryLib/output/JSONWriter.cpp:2: \"output/Missing.h\": names no header of the tree"
  "timeline_core/Moment.h:3: <unistd.h>: timeline_core may not include os"
  "timeline_core/Moment.h:5: \"SQLiteReadConnection.h\": timeline_core may not include sqlite_support")

# The offences, one per line, each led by the path of its file in the tree.
string(REPLACE "\n" ";" lines "${output}")
set(found "")
foreach(line IN LISTS lines)
  if(line MATCHES "^(VarnholtQueryLib|timeline_core|timeline_sqlite|sqlite_support)/")
    list(APPEND found "${line}")
  endif()
endforeach()
if(NOT output MATCHES "CheckIncludeRules: 10 include\\(s\\) break the rules")
  message(FATAL_ERROR "The include check did not count 10 offences:\n${output}")
endif()

if(NOT found STREQUAL expected)
  list(JOIN expected "\n  " expected_text)
  list(JOIN found "\n  " found_text)
  message(FATAL_ERROR "The include check named other offences.\nExpected:\n  ${expected_text}\n"
                      "Found:\n  ${found_text}\nIts whole output:\n${output}")
endif()
message("The include check names each of the tree's 10 offences.")

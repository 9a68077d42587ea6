# Writes OUTPUT (changelog.Debian.gz) from TEMPLATE for the commit that
# SOURCE_DIR is at, dated by that commit, so that the same commit gives the
# same package; outside a git checkout the commit is 0000000 with a fixed
# date. Rewrites nothing when the entry is unchanged.
execute_process(
  COMMAND git -C "${SOURCE_DIR}" log -1 --format=%h%n%aD
  OUTPUT_VARIABLE commit_and_date
  OUTPUT_STRIP_TRAILING_WHITESPACE
  ERROR_QUIET
  RESULT_VARIABLE git_result)
if(git_result EQUAL 0 AND commit_and_date MATCHES "^([0-9a-f]+)\n(.+)$")
  set(VARNHOLT_COMMIT "${CMAKE_MATCH_1}")
  set(VARNHOLT_CHANGE_DATE "${CMAKE_MATCH_2}")
else()
  set(VARNHOLT_COMMIT 0000000)
  set(VARNHOLT_CHANGE_DATE "Wed, 01 Apr 2026 00:00:00 +0000")
endif()
string(SUBSTRING "${VARNHOLT_COMMIT}" 0 7 VARNHOLT_COMMIT)
configure_file("${TEMPLATE}" "${OUTPUT}.text.new" @ONLY)
file(READ "${OUTPUT}.text.new" entry)
set(existing "")
if(EXISTS "${OUTPUT}.text" AND EXISTS "${OUTPUT}")
  file(READ "${OUTPUT}.text" existing)
endif()
if(NOT existing STREQUAL entry)
  file(RENAME "${OUTPUT}.text.new" "${OUTPUT}.text")
  # -n leaves name and time out of the archive.
  execute_process(COMMAND gzip -9 -n -c "${OUTPUT}.text" OUTPUT_FILE "${OUTPUT}" RESULT_VARIABLE gzip_result)
  if(NOT gzip_result EQUAL 0)
    message(FATAL_ERROR "gzip failed on ${OUTPUT}.text")
  endif()
else()
  file(REMOVE "${OUTPUT}.text.new")
endif()

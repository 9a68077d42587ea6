# Writes BuildMetadataCommit.cpp with the short commit id of SOURCE_DIR.
# Outside a git checkout (a source tarball) the id is 0000000.
execute_process(
  COMMAND git -C "${SOURCE_DIR}" rev-parse --short=7 HEAD
  OUTPUT_VARIABLE commit
  OUTPUT_STRIP_TRAILING_WHITESPACE
  ERROR_QUIET
  RESULT_VARIABLE result)
if(NOT result EQUAL 0 OR NOT commit MATCHES "^[0-9a-f]+$")
  set(commit "0000000")
endif()
string(SUBSTRING "${commit}" 0 7 commit)
set(content "// Generated at build time; do not edit.\n#include \"cli/BuildMetadata.h\"\n\nnamespace VarnholtQueryLib {\nconst std::string BuildMetadata::commitSHA = \"${commit}\";\n}\n")
set(existing "")
if(EXISTS "${OUTPUT}")
  file(READ "${OUTPUT}" existing)
endif()
if(NOT existing STREQUAL content)
  file(WRITE "${OUTPUT}" "${content}")
endif()

# Writes the source file OUTPUT, which tells the VERSION and the commit of the tree SOURCE. Run at each
# build; the file is touched only where its text changes.
set(commit "")
# A folder inside the tree of something else is not that thing's commit.
execute_process(COMMAND git rev-parse --show-prefix WORKING_DIRECTORY ${SOURCE}
                RESULT_VARIABLE failed OUTPUT_VARIABLE prefix OUTPUT_STRIP_TRAILING_WHITESPACE
                ERROR_QUIET)
if(NOT failed AND prefix STREQUAL "")
    execute_process(COMMAND git --no-optional-locks describe --always --dirty --exclude=* --abbrev=12
                    WORKING_DIRECTORY ${SOURCE} OUTPUT_VARIABLE commit
                    OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET)
else()
    # git writes the commit into this file of an archive that it makes.
    file(STRINGS ${SOURCE}/cmake/archived_commit line LIMIT_COUNT 1)
    string(REGEX MATCH "^[0-9a-f]+" commit "${line}")
    string(SUBSTRING "${commit}" 0 12 commit)
endif()
if(commit STREQUAL "")
    set(commit unknown)
endif()
file(CONFIGURE OUTPUT ${OUTPUT} @ONLY CONTENT [[
#include "versionkit/version.h"

const char* const versionkit::number = "@VERSION@";
const char* const versionkit::commit = "@commit@";
]])

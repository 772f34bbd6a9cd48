# Sets IDS_SOURCE_EPOCH: SOURCE_DATE_EPOCH when set, else when the last commit was made, else when the changes were last
# written down.

if(DEFINED ENV{SOURCE_DATE_EPOCH})
    set(IDS_SOURCE_EPOCH $ENV{SOURCE_DATE_EPOCH})
    return()
endif()
execute_process(COMMAND git -C ${PROJECT_SOURCE_DIR} log -1 --format=%ct
    OUTPUT_VARIABLE IDS_SOURCE_EPOCH OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET)
if(NOT IDS_SOURCE_EPOCH)
    file(TIMESTAMP ${PROJECT_SOURCE_DIR}/CHANGELOG.md IDS_SOURCE_EPOCH %s UTC)
endif()

# Installs the service's unit for the prefix of this installation. The unit in the sources is for /usr. For another prefix
# it starts the daemon of that prefix and does not hide the folder that the prefix is in.
cmake_path(ABSOLUTE_PATH IDS_SBIN_FOLDER BASE_DIRECTORY "${CMAKE_INSTALL_PREFIX}/")
string(REGEX MATCH "^/[^/]+" top "${IDS_SBIN_FOLDER}")
file(READ ${CMAKE_CURRENT_LIST_DIR}/idsProc.service unit)
string(REPLACE /usr/sbin/idsProc ${IDS_SBIN_FOLDER}/idsProc unit "${unit}")
string(REGEX REPLACE " -${top}([ \n])" "\\1" unit "${unit}")
file(REMOVE ${IDS_UNIT}) # root may have installed before
file(WRITE ${IDS_UNIT} "${unit}")
if(CMAKE_INSTALL_PREFIX STREQUAL /usr)
    file(INSTALL ${IDS_UNIT} DESTINATION /lib/systemd/system)
else()
    file(INSTALL ${IDS_UNIT} DESTINATION ${CMAKE_INSTALL_PREFIX}/lib/systemd/system)
endif()

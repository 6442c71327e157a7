# Runs over the staged files of the packages: Debian keeps manuals and changelogs compressed.
file(GLOB_RECURSE files ${CPACK_TEMPORARY_INSTALL_DIRECTORY}/qbsettings.1
     ${CPACK_TEMPORARY_INSTALL_DIRECTORY}/changelog
     ${CPACK_TEMPORARY_INSTALL_DIRECTORY}/changelog.Debian)
if(files)
  execute_process(COMMAND gzip -9 --no-name ${files} COMMAND_ERROR_IS_FATAL ANY)
endif()

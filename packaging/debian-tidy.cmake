# Runs over the staged files of the packages: Debian keeps manuals compressed.
file(GLOB_RECURSE manuals ${CPACK_TEMPORARY_INSTALL_DIRECTORY}/qbsettings.1)
if(manuals)
  execute_process(COMMAND gzip -9 --no-name ${manuals} COMMAND_ERROR_IS_FATAL ANY)
endif()

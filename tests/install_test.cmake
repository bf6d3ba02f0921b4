# SPDX-FileCopyrightText: 2026 the ZAV authors
# SPDX-License-Identifier: MIT

# Installs this build, then builds and runs a host against the installed copy. Hosts of a sanitized
# library would need its flags.
if(NOT ZAV_SANITIZE)
  add_test(NAME install.consumer
    COMMAND ${CMAKE_CURRENT_SOURCE_DIR}/install_check.sh ${PROJECT_SOURCE_DIR} ${PROJECT_BINARY_DIR})
endif()

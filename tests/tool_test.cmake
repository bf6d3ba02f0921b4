# SPDX-FileCopyrightText: 2026 the ZAV authors
# SPDX-License-Identifier: MIT
if(TARGET zav_tool)
  add_test(NAME tool COMMAND ${Python3_EXECUTABLE} ${CMAKE_CURRENT_LIST_DIR}/tool_check.py
    $<TARGET_FILE:zav_tool>)
endif()

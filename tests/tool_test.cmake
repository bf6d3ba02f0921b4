# SPDX-FileCopyrightText: 2026 the ZAV authors
# SPDX-License-Identifier: MIT

# Debian's Python has PIL.
find_program(ZAV_SYSTEM_PYTHON python3 PATHS /usr/bin NO_DEFAULT_PATH)
if(TARGET zav_tool AND ZAV_SYSTEM_PYTHON)
  add_test(NAME tool COMMAND ${ZAV_SYSTEM_PYTHON} ${CMAKE_CURRENT_LIST_DIR}/tool_check.py
    $<TARGET_FILE:zav_tool>)
  set_tests_properties(tool PROPERTIES SKIP_RETURN_CODE 77)
endif()

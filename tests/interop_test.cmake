# SPDX-FileCopyrightText: 2026 the ZAV authors
# SPDX-License-Identifier: MIT

# Files written here are read by PIL, and the other way round. Debian's interpreter has PIL.
find_program(ZAV_SYSTEM_PYTHON python3 PATHS /usr/bin NO_DEFAULT_PATH)
if(ZAV_SYSTEM_PYTHON)
  add_test(NAME interop COMMAND ${ZAV_SYSTEM_PYTHON} ${CMAKE_CURRENT_LIST_DIR}/interop_check.py
    $<TARGET_FILE:zav_tests>)
  set_tests_properties(interop PROPERTIES SKIP_RETURN_CODE 77)
endif()

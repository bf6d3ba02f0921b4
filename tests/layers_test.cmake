# SPDX-FileCopyrightText: 2026 the ZAV authors
# SPDX-License-Identifier: MIT

# The tree itself, and small trees that must be refused.
add_test(NAME layers.tree COMMAND Python3::Interpreter ${PROJECT_SOURCE_DIR}/scripts/check_layers.py)
add_test(NAME layers.refused
  COMMAND Python3::Interpreter ${CMAKE_CURRENT_SOURCE_DIR}/layers_check.py
    ${PROJECT_SOURCE_DIR}/scripts/check_layers.py)

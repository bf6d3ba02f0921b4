# SPDX-FileCopyrightText: 2026 the ZAV authors
# SPDX-License-Identifier: MIT
add_test(NAME layers COMMAND Python3::Interpreter ${PROJECT_SOURCE_DIR}/scripts/check_layers.py)

// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include "convert/true_color_rows.h"

namespace zav {

const TrueColorRows& SelectedTrueColorRows() { return PlainTrueColorRows(); }

}  // namespace zav

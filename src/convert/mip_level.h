// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#pragma once

#include "surface/records.h"

namespace zav {

/// Makes the next mip level of the converter's source in its destination. A destination without
/// format takes the source's, with its masks; one without size takes half the source's.
///
/// A 32-bit source is filtered as it is: its level has the same format and at most half its sides.
/// Every other source goes through 32-bit BGRA, and is consumed on success: the slot is zero and
/// what it owned is freed. Its level may have any format and size that the half-size picture can be
/// converted to. On failure both surfaces are as they were found.
bool GenerateMipLevel(ZAV_CONVERTER& converter);

}  // namespace zav

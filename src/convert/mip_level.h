// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#pragma once

#include "surface/records.h"

namespace zav {

/// Makes the next mip level of the source in the destination. A destination without format gets the
/// source's, with its masks; one without size gets half the source's.
///
/// A 32-bit source is filtered directly: its level has the same format and at most half its sides.
/// Any other source goes through 32-bit BGRA and is consumed on success: zeroed, its buffers freed.
/// Its level may have any format and size that the half-size picture can be converted to. On
/// failure both surfaces are as before.
bool GenerateMipLevel(ZAV_CONVERTER& converter);

}  // namespace zav

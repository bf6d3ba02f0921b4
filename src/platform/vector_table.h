// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#pragma once

#include "platform/vector_target.h"

namespace zav {

template <typename Table>
const Table& ChooseTable(const Table& (*plain)(), const Table& (*vectorised)()) {
  return PlainForced() ? plain() : vectorised();
}

}  // namespace zav

// Defines `const Table& Selected()`: what the fastest target's `Factory()` returns, or `Plain()`
// where that is forced or all that there is. It stands in namespace zav at the end of a file of
// kernels, for one target only. Factories need names of their own: the macro makes them global.
#ifdef ZAV_HAVE_HIGHWAY
#define ZAV_SELECT_TABLE(Table, Selected, Factory, Plain) \
  HWY_EXPORT(Factory);                                    \
  const Table& Selected() { return ChooseTable<Table>(Plain, HWY_DYNAMIC_DISPATCH(Factory)); }
#else
#define ZAV_SELECT_TABLE(Table, Selected, Factory, Plain) \
  const Table& Selected() { return Plain(); }
#endif

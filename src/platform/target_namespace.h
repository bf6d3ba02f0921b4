// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#pragma once

// ZAV_BEGIN_TARGET opens the namespace of the instruction set that is being compiled for, and
// ZAV_END_TARGET closes it. Include this after hwy/highway.h; where that is not included the code
// between them is compiled once, for every processor, in zav::plain.
//
// What is between them has internal linkage: files may have functions and types of the same name.

#ifdef HWY_BEFORE_NAMESPACE

#define ZAV_BEGIN_TARGET()       \
  HWY_BEFORE_NAMESPACE();        \
  namespace zav::HWY_NAMESPACE { \
  namespace {                    \
  namespace hn = hwy::HWY_NAMESPACE

#define ZAV_END_TARGET() \
  }                      \
  }                      \
  HWY_AFTER_NAMESPACE()

#else

#define ZAV_BEGIN_TARGET() \
  namespace zav::plain {   \
  namespace {              \
  static_assert(true)

#define ZAV_END_TARGET() \
  }                      \
  }                      \
  static_assert(true)

#endif

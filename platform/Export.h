// SPDX-License-Identifier: MIT
#pragma once

/// Marks what the shared library shows to the programs that load it; everything else is hidden.
#define QZGC_EXPORT __attribute__((visibility("default")))

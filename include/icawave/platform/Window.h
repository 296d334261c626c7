// SPDX-License-Identifier: BSD-3-Clause
// All of the window layer: windows, dialogs, lists, menus. They hold their whole state themselves; a front
// end shows it.
#pragma once

#include <icawave/platform/Dialog.h>
#include <icawave/platform/ListCtrl.h>
#include <icawave/platform/Menu.h>
#include <icawave/platform/Wnd.h>

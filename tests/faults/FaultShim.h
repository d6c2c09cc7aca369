// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

namespace velmo::test {

/// Families of calls, to be added up. Those on the standard streams are left alone.
enum eFaultCalls : unsigned int {
    eFC_Write = 1,    ///< writes of all kinds, and what sets or reserves a file's size
    eFC_Read = 2,     ///< reads of all kinds
    eFC_Allocate = 4, ///< the C library's allocations, under operator new too, and mappings; but libtiff's
    eFC_Close = 8,    ///< closes, which close what they fail to close
    eFC_Open = 16,    ///< opens
    eFC_Look = 32,    ///< seeks, and looks at the size of an open file
    eFC_AllocateInLibtiff = 64, ///< the allocations that libtiff's own code makes
    eFC_Name = 128              ///< renames and removals
};

enum eFaultMode : unsigned int {
    eFM_Count = 0,         ///< nothing fails
    eFM_FailOnce = 1,      ///< one call fails
    eFM_FailFromThere = 2, ///< so do all behind it
    eFM_Interrupt = 3,     ///< one call is interrupted by a signal
    eFM_Halve = 4,         ///< from that call on a call moves half of the bytes, one at least
    eFM_Stop = 5,          ///< the process stops before one call, as by SIGSTOP
};

} // namespace velmo::test

// The shim stands in front of the C library in a process that is linked with it or has it preloaded. Where it
// is preloaded, VELMO_FAULTS="calls at mode" arms it as long as `main` runs, and the number of calls goes to
// the file VELMO_FAULTS_COUNT.
extern "C" {

/// Has the calls of these families counted from 1 on, on all threads, and call `at` treated as `mode` says.
void velmoArmFaults(unsigned int calls, long at, unsigned int mode);
/// Ends that; how many calls there were.
long velmoDisarmFaults();
}

// SPDX-License-Identifier: BSD-3-Clause
// The whole of icawave: a home for the results of independent component analysis of MEG and EEG recordings.
//
// The host computes decompositions and hands them over; the library holds, inspects, stores and manages them.
//
// - FaceIca.h: CFaceIcazq, the package, what a host holds: a list of data sets, one of them current
// - DataSetOwner.h: DataSetOwner, which owns a data set that no package lists
// - TrialIcaData.h: CTrialIcaDatazq, one data set (trial): components x samples, time axis, selection
// - ChnlIcaData.h: CChnlIcaDatazq, one channel of a data set: its values, backup and projection items
// - IcaParam.h: CIcaParamzq, the parameters of one decomposition: unmixing matrix and companions
// - MMatrix.h: CMMatrix1Dzq and CMMatrix2Dzq, vectors and matrices of doubles
// - PackageFile.h: PackageFile, a package on disk: its list, single data sets, check, salvage, atomic save
// - IcaWaveManager.h: CDlgIcaWaveManager, the dialog that a user manages a package in
// - Version.h: the version, of the headers and of the library that runs
// - platform/AtomicFile.h: AtomicFile, a file that is replaced as a whole; WriterLock, one writer at a time
// - platform/: strings, arrays, exceptions, files, the archive, messages, windows, front ends, modules, kept memory
//
// Everything runs on one thread, the host's user-interface thread. Buffers of doubles come from new double[]
// and have one owner each, named beside the pointer. Bad values in files are told by messages and results,
// streams that end by exceptions (CException); CArchive::firstFault tells the first of either.
#pragma once

#include <icawave/ChnlIcaData.h>
#include <icawave/DataSetOwner.h>
#include <icawave/FaceIca.h>
#include <icawave/IcaParam.h>
#include <icawave/IcaWaveManager.h>
#include <icawave/MMatrix.h>
#include <icawave/PackageFile.h>
#include <icawave/TrialIcaData.h>
#include <icawave/Version.h>
#include <icawave/platform/Archive.h>
#include <icawave/platform/Array.h>
#include <icawave/platform/AtomicFile.h>
#include <icawave/platform/Exception.h>
#include <icawave/platform/File.h>
#include <icawave/platform/FrontEnd.h>
#include <icawave/platform/Memory.h>
#include <icawave/platform/Message.h>
#include <icawave/platform/Module.h>
#include <icawave/platform/ScriptedFrontEnd.h>
#include <icawave/platform/String.h>
#include <icawave/platform/Window.h>

// The functions of the seam that can be told to fail. In the fault build the real ones are compiled under
// the names on the right; lmkutils/os/fault/NAME.cpp defines those on the left, counts the calls, and either
// fails or calls the real one. One line a function, sorted; names must be unique words of the seam.
#ifndef LMKUTILS_OS_FAULT_RENAME_H
#define LMKUTILS_OS_FAULT_RENAME_H

#define CheckWritable RealCheckWritable
#define CloseFile RealCloseFile
#define CloseStream RealCloseStream
#define CounterFrequency RealCounterFrequency
#define CreatePrivateFile RealCreatePrivateFile
#define CurrentDirectory RealCurrentDirectory
#define GetCapabilities RealGetCapabilities
#define IsInterrupted RealIsInterrupted
#define LockRange RealLockRange
#define MakeDirectory RealMakeDirectory
#define MutexAcquire RealMutexAcquire
#define MutexRelease RealMutexRelease
#define MutexTryAcquire RealMutexTryAcquire
#define NativeText RealNativeText
#define OpenDescriptor RealOpenDescriptor
#define OpenForAppending RealOpenForAppending
#define OpenForChanging RealOpenForChanging
#define OpenForReading RealOpenForReading
#define OpenLockFile RealOpenLockFile
#define OtherThreadsKilled RealOtherThreadsKilled
#define QueryFileStatus RealQueryFileStatus
#define ReadCounter RealReadCounter
#define ReadOnce RealReadOnce
#define RemoveEmptyDirectory RealRemoveEmptyDirectory
#define RemoveFile RealRemoveFile
#define RenameEntry RealRenameEntry
#define ResizeFile RealResizeFile
#define SeekFile RealSeekFile
#define SemaphoreSignal RealSemaphoreSignal
#define SemaphoreWait RealSemaphoreWait
#define SetFileMode RealSetFileMode
#define SetFileTimes RealSetFileTimes
#define ShortPath RealShortPath
#define StreamOfDescriptor RealStreamOfDescriptor
#define ThreadStart RealThreadStart
#define TreeCreateFile RealTreeCreateFile
#define TreeCreatePrivateFile RealTreeCreatePrivateFile
#define TreeEnter RealTreeEnter
#define TreeLeave RealTreeLeave
#define TreeList RealTreeList
#define TreeMakeDirectory RealTreeMakeDirectory
#define TreeOpenForReading RealTreeOpenForReading
#define TreeRemoveDirectory RealTreeRemoveDirectory
#define TreeRemoveFile RealTreeRemoveFile
#define TreeReplace RealTreeReplace
#define UnlockRange RealUnlockRange
#define WallSeconds RealWallSeconds
#define WriteOnce RealWriteOnce

// What other services of the seam call is renamed where it is defined only, so that their calls can fail too.
#ifdef LMK_REAL_memory
#define HeapAllocate RealHeapAllocate
#define HeapReallocate RealHeapReallocate
#endif

#endif

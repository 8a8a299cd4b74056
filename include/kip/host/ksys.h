/* SPDX-License-Identifier: Apache-2.0 */
/* The host's system library: statuses, memory, the clean-up executor, the argument-check report, cancellation and
 * processor information. All operations may be called from any thread. For hosts; callers begin at ksys_status, and at
 * ksys_attention_setHandler to cancel. */
#ifndef KIP_HOST_KSYS_H
#define KIP_HOST_KSYS_H

#include <stdint.h>

#if defined(__GNUC__)
#define KSYS_EXPORTS_BEGIN _Pragma("GCC visibility push(default)")
#define KSYS_EXPORTS_END _Pragma("GCC visibility pop")
#else
#define KSYS_EXPORTS_BEGIN
#define KSYS_EXPORTS_END
#endif

#ifdef __cplusplus
#define KSYS_DECLARATIONS_BEGIN \
  extern "C" {                  \
  KSYS_EXPORTS_BEGIN
#define KSYS_DECLARATIONS_END \
  KSYS_EXPORTS_END            \
  }
#else
#define KSYS_DECLARATIONS_BEGIN KSYS_EXPORTS_BEGIN
#define KSYS_DECLARATIONS_END KSYS_EXPORTS_END
#endif

KSYS_DECLARATIONS_BEGIN

/* 0 is success; a status is a failure exactly when its bit 31 is set. */
typedef int32_t ksys_status;

#define KSYS_STATUS(code) ((ksys_status)(UINT32_C(code)))

/* The host's own failures. */
#define KSYS_STATUS_NO_MEMORY KSYS_STATUS(0x80000010)      /* an allocation failed */
#define KSYS_STATUS_BAD_ARGUMENT KSYS_STATUS(0x80000011)   /* a size, position, stride or pointer is out of range */
#define KSYS_STATUS_OUTSIDE_IMAGE KSYS_STATUS(0x80000012)  /* a rectangle does not lie inside the image's pixels */
#define KSYS_STATUS_NOT_INVERTIBLE KSYS_STATUS(0x80000013) /* a transform has no inverse */
#define KSYS_STATUS_CANCELLED KSYS_STATUS(0x80000014)      /* for attention handlers: the operation shall stop */
#define KSYS_STATUS_JOB_LOST KSYS_STATUS(0x80000015)       /* a job was lost in a fork (kjob.h) */
#define KSYS_STATUS_NOT_BOUND KSYS_STATUS(0x800003C3)      /* an image or a window refers to no pixels */
#define KSYS_STATUS_MEMORY_OVERLAP KSYS_STATUS(0x800006A0) /* two windows share pixel memory */

/* ---- memory ---- */

/* Stores the address of a new block of at least `bytes` bytes, aligned to 64, into *block; 0 bytes give a valid block.
 * On failure *block is null. The caller owns the block and releases it with ksys_memory_free_internal. */
ksys_status ksys_memory_alloc_internal(uint64_t bytes, void** block);
/* Where a caller relies on the alignment to 64. */
ksys_status ksys_memory_alloc64_internal(uint64_t bytes, void** block);
/* The same with all bytes set to 0. */
ksys_status ksys_memory_allocClear_internal(uint64_t bytes, void** block);
/* Releases the block whose address is in the `void *` variable that `block` points to, and sets that variable to null.
 * A null variable is left alone. */
void ksys_memory_free_internal(void* block);

/* Copies `bytes` bytes. Source and destination do not overlap; both may be null when there are none. */
void ksys_memory_copy(void* dst, const void* src, uint64_t bytes);
/* Sets `bytes` bytes to the value. */
void ksys_memory_fill(void* dst, uint8_t value, uint64_t bytes);
/* Copies `rows` rows of `rowBytes` bytes each; the pitches lead from a row to the next, in bytes. Source and
 * destination do not overlap. */
void ksys_memory_copyRect(void* dst, int64_t dstPitch, const void* src, int64_t srcPitch, uint64_t rowBytes,
                          uint64_t rows);

/* The legacy allocator: null on failure; kxfFree ignores null. */
void* kxfMalloc(uint64_t bytes);
void kxfFree(void* block);

/* Asked before every allocation of the host, from any thread; a failure that it returns is returned in the allocation's
 * place. Null: no handler. */
typedef ksys_status (*ksys_memoryHandler)(void* context, uint64_t bytes);
void ksys_memory_setHandler(ksys_memoryHandler handler, void* context);

/* ---- clean-up stacks ---- */

/* Of a memory entry ksys_memory_free_internal, of an object entry the object's destruct operation (kimg_image_destruct
 * ...) as it is: whoever runs it calls it with the object's address. */
typedef void (*ksys_destructor)(void* object);

enum {
  ksys_cleanupKeptMemory = 33, /* a memory entry that is released only when the operation failed */
  ksys_cleanupMemory = 49,     /* object: address of the variable that holds the block's address */
  ksys_cleanupObject = 50      /* object: address of a constructed object */
};

typedef struct ksys_cleanupEntry {
  uint32_t id;
  int32_t kind;
  void* object;
  ksys_destructor destructor;
} ksys_cleanupEntry;

/* A number for one operation's clean-up stack. */
uint32_t ksys_cleanup_getNextTag(void);
/* Runs the destructor of every live entry, last in first out, and sets *count to 0. Entries of kind
 * ksys_cleanupKeptMemory are dropped without a call when *status is no failure. A failure in *status is kept. */
void ksys_cleanupExecute_(ksys_cleanupEntry* entries, int32_t* count, ksys_status* status, uint32_t tag);
/* Removes the entry with that id, running its destructor first when `destruct` is not 0. An unknown id is ignored. */
void ksys_cleanup_doId_(ksys_cleanupEntry* entries, int32_t* count, ksys_status* status, uint32_t id, int32_t destruct);

/* ---- cancellation ---- */

/* 0, or a failure when the running operation is asked to stop: the answer of the calling thread's handler. */
ksys_status ksys_attention_check(void);
typedef ksys_status (*ksys_attentionHandler)(void* context);
/* For the calling thread; null: no handler. A handler that stops an operation returns KSYS_STATUS_CANCELLED or another
 * failure, which the operation then returns. libkipgauss does not ask in masked smoothing with a source mask, for
 * result masks, in smoothing of 16-bit images, in kfGauss and at processor level 1. */
void ksys_attention_setHandler(ksys_attentionHandler handler, void* context);
/* The calling thread's, to be asked by another one or to be set again; null when there is none. */
void ksys_attention_getHandler(ksys_attentionHandler* handler, void** context);

/* ---- processor information ---- */

typedef struct ksys_cpuinfo {
  int32_t vendor; /* 1 or 5 on the x86 makers' processors, else 0 */
  int32_t reserved1[3];
  int32_t features; /* bits below; 0 on other architectures */
  int32_t reserved2[25];
} ksys_cpuinfo;

enum {
  ksys_cpuMmxSse2 = 0x1,
  ksys_cpuSse2Integer = 0x8,
  ksys_cpuSse41 = 0x100,
  ksys_cpuAvx2 = 0x800 /* and the operating system saves the registers */
};

ksys_status ksys_cpuinfo_init(ksys_cpuinfo* info);
/* Every later ksys_cpuinfo_init reports these values; process-wide. Features that the processor lacks may be claimed:
 * whoever runs code on that claim answers for it. */
void ksys_cpuinfo_setOverride(int32_t vendor, int32_t features);
void ksys_cpuinfo_clearOverride(void);
/* Every later ksys_cpuinfo_init returns this status; 0: works again. */
void ksys_cpuinfo_setFailure(ksys_status status);

KSYS_DECLARATIONS_END

#endif

// Folders and files that this user alone can have written, for results that are run or trusted later.
//
//   OSTRA_RETURN_IF_ERROR(MakePrivateFolder(folder));
//   OSTRA_ASSIGN_OR_RETURN(const Descriptor descriptor, OpenTrustedFolder(folder));
//   OSTRA_RETURN_IF_ERROR(WritePrivateFile(file, bytes));                     // in that folder
//   OSTRA_RETURN_IF_ERROR(CheckTrustedFile(file));                            // before it is read again
//
// Only the user of the process and the superuser are trusted. Errors are illegal states whose message is a
// sentence with what to do, or out of memory. Thread-safe.
#pragma once

#include "ostra/core/base_array.h"
#include "ostra/core/string.h"
#include "ostra/io/descriptor.h"

namespace ostra {

// Makes the folder and those above it that are missing, for the owner alone (mode 0700). Existing ones stay as they
// are. Error: the folder cannot be made, with the operating system's reason.
OSTRA_API Result<void> MakePrivateFolder(std::string_view folder);

// Opens the folder for reading. The descriptor stands for this folder whatever is put in its place later. Errors: the
// folder cannot be read; another user owns it or may write to it.
OSTRA_API Result<Descriptor> OpenTrustedFolder(std::string_view folder);

// Succeeds for a missing file. Errors: another user owns the file or may write it; it is a link or a device.
OSTRA_API Result<void> CheckTrustedFile(std::string_view file);

// Replaces the file by one that only the owner can read and write; others see the old contents or the new ones.
// `isSynced`: the bytes are on the disk before the name is, so that a crash of the machine leaves one of the two as
// well. A killed process can leave "FILE.XXXXXX.tmp" behind. Error: the file cannot be written, with the operating
// system's reason.
OSTRA_API Result<void> WritePrivateFile(std::string_view file, Block<const Byte> bytes, Bool isSynced = false);

// Makes an existing file one that only the owner can read and write, and waits until its bytes are on the disk. Error:
// the operating system refuses, with its reason.
OSTRA_API Result<void> SyncPrivateFile(std::string_view file);

// Makes a folder for the owner alone, whose name begins with `prefix` and is that of no other one; returns its path.
// Error: it cannot be made; the message is the operating system's reason alone.
OSTRA_API Result<String> MakeUniqueFolder(std::string_view prefix);

}  // namespace ostra

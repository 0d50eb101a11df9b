#pragma once

#include <cstddef>

// What a log needs of the operating system, which is where the systems differ.

/// Opens a plain file to append to, or makes it, and passes over the standard streams' places: a
/// descriptor, which no child process inherits, or -1. Never waits, whatever stands at the path.
int OpenForAppending(const char* pPath);

/// Writes all of a text, or fails; without a signal to the host.
bool AppendTo(int iDescriptor, const char* pText, size_t iLength);

void CloseAppended(int iDescriptor);

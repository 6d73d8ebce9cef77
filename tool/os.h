#pragma once

#include <cstdio>
#include <filesystem>
#include <string>

// What the tool needs of the operating system beyond the standard library; one source file for
// each.
namespace brisk::tool::os {

// Empty when the system does not say.
std::filesystem::path ExecutablePath();

// A name without a folder is looked for where the system keeps libraries. Null with the system's
// reason in `error` on failure.
void* OpenLibrary(const std::string& name, std::string& error);
void CloseLibrary(void* library);
void* FindSymbol(void* library, const char* name);

bool IsTerminal(std::FILE* stream);

// A stream of its own on a copy of the descriptor, which a later redirection does not touch; null
// on failure.
std::FILE* CopyOfStream(std::FILE* stream);

// Sends what is written to the descriptor of `stream`, by anybody in this process, to `target`.
bool Redirect(std::FILE* stream, std::FILE* target);

// A file for reading and writing that vanishes when it is closed; null on failure.
std::FILE* OpenScratch();

}  // namespace brisk::tool::os

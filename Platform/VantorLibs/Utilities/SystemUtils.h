#pragma once

#include <string>

/** What a service asks of the system that it runs on. Thread-safe. */
namespace SystemUtils
{
/**
 * Makes this process the only one of its program for as long as it lives: takes the lock /run/vantor/<GetEXE()>.lock,
 * which the kernel frees however the process ends (flock(2)). The file also holds the process id, for people. A
 * second call in the same process does nothing.
 *
 * @throws std::runtime_error when another process holds the lock, naming the program and that process, or when the lock
 *         cannot be taken at all, saying why.
 */
void ThereCanBeOnlyOne();

/** The file name of this process's executable, without its folders; empty when /proc does not tell. */
std::string GetEXE();

/** Whether something of that path exists, a dangling symbolic link excepted. True when that cannot be told. */
bool Exists(const std::string& path);

/**
 * The whole content of a regular file, of /proc as well; empty when it cannot be read or has more than 16 MiB. Never
 * waits on a pipe.
 */
std::string ReadFile(const std::string& path);
} // namespace SystemUtils

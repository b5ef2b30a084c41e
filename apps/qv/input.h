#pragma once
#include <cstdio>
#include <string>

/// Reads a line of any length, without its end ("\n" or "\r\n"); false at the end of the file.
bool readLine(FILE* file, std::string& line);

/// Reads a command file: a byte-order mark is left out, line ends become "\n". A file that cannot
/// be read or holds NUL bytes gives false, and `error` the message with the file's name.
bool readCommandFile(const std::string& path, std::string& text, std::string& error);

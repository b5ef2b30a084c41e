#pragma once
#include <cstdio>
#include <string>

/// Reads a line of any length, without its end ("\n" or "\r\n"); false at the end of the file.
bool readLine(FILE* file, std::string& line);

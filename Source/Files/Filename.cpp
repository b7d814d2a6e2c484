#include "Filename.h"

std::string Files::FilenameOf(const std::string& path)
{
    return path.substr(path.rfind('/') + 1);
}

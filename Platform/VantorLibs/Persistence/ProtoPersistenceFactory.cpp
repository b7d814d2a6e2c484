#include "ProtoPersistenceFactory.h"

#include "PersistentFile.h"

#include <algorithm>
#include <cerrno>
#include <system_error>
#include <utility>
#include <vector>

namespace
{
bool IsPlainName(const std::string& name)
{
    return !name.empty() && name != "." && name != ".." &&
           name.find_first_of(std::string("/\0", 2)) == std::string::npos;
}

std::vector<std::string> SplitFolders(const std::string& directory)
{
    std::vector<std::string> folders;
    std::size_t begin = 0;
    while (begin < directory.size()) {
        const std::size_t end = std::min(directory.find('/', begin), directory.size());
        folders.push_back(directory.substr(begin, end - begin));
        begin = end + 1;
    }
    return folders;
}
} // namespace

std::shared_ptr<ProtoPersistenceIF> ProtoPersistenceFactory::Create(const std::string& fileName,
                                                                    const std::string& directory)
{
    std::vector<std::string> folders = SplitFolders(directory);
    bool isInside = IsPlainName(fileName);
    for (const std::string& folder : folders) {
        isInside = isInside && IsPlainName(folder);
    }
    if (!isInside) {
        throw ProtoPersistenceIF::ProtoPersistenceException(std::generic_category().message(EINVAL) +
                                                            ": no file below /mnt/nv/ has the folder '" + directory +
                                                            "' and the name '" + fileName + "'");
    }
    return std::make_shared<PersistentFile>(std::move(folders), fileName);
}

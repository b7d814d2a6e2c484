#pragma once

#include <memory>
#include <string>

#include "ProtoPersistenceIF.h"

class ProtoPersistenceFactory
{
public:
    static std::shared_ptr<ProtoPersistenceIF> Create(const std::string& fileName, const std::string& directory);
};

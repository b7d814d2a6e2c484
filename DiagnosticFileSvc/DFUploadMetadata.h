#pragma once

#include "UploadSysInfo.pb.h"

#include <cstdint>
#include <string>

/** The record that goes to the cloud before an archive. */
namespace DiagnosticFileSvc
{
/** The product as its manufacturing data name it. */
struct ProductIdentity
{
    std::string name;
    std::string type;
    /** The product's GUID. */
    std::string id;
};

/** Reads the manufacturing data. Without any of the three the process ends with status 1. Blocks. */
ProductIdentity LoadMetadata();

/**
 * The record as a JSON object. Its software version comes from the version file, or is a default.
 *
 * @param deviceName as the device information has it; empty as long as there is none
 * @param items      what the archive holds
 * @param now        in seconds since the epoch
 *
 * Blocks.
 */
std::string BuildMetadataPayload(const ProductIdentity& product, const std::string& deviceName,
                                 const DFSCommonPB::UploadTypes& items, std::int64_t now);
} // namespace DiagnosticFileSvc

#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

#include "UploadSysInfo.pb.h"

/** What gatrix-peer was called with. */
struct Options
{
    bool showHelp = false;
    /** Of the gateway, on this machine. */
    std::uint16_t port = 8084;
    /** How long the diagnostic-file service may take to be there. */
    std::chrono::seconds timeout{30};
    /** Whether to go on offering endpoints after the upload was answered. */
    bool isStaying = false;
    /** What the payload endpoint answers with. */
    std::string payload = "zone=Kitchen; state=playing; volume=31";
    /** What is posted. */
    DFSCommonPB::UploadRequest upload;
};

/**
 * Reads the arguments that follow the program's name. Not to be called by two threads at a time.
 *
 * @throws std::invalid_argument with one line for the user
 */
Options ParseOptions(std::vector<std::string> arguments);

/** The text of --help. */
extern const char kHelpText[];

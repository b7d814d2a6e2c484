#pragma once

#include "APTask.h"
#include "Callback.h"
#include "DeviceManager.pb.h"
#include "GatrixClientIF.h"
#include "UploadSysInfo.pb.h"

#include <chrono>
#include <cstdint>
#include <future>
#include <memory>
#include <string>
#include <vector>

/** What a peer does. */
struct PeerOptions
{
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
 * An on-device service as small as one can be: offers three endpoints on the gateway, registers two of them as
 * diagnostic items, posts one upload and shows on standard output what happens.
 */
class Peer : public APTask
{
public:
    /** Writes the file that the peer offers, and begins to connect. @throws std::runtime_error when it cannot */
    explicit Peer(PeerOptions options);
    ~Peer() override;

    /** From one thread: waits, as long as the options say, until the service can be asked. */
    bool WaitUntilReady();

    /** From one thread: waits for the answer to the upload. Whether it succeeded. */
    bool WaitForAnswer();

private:
    void ConnectionCB(bool isConnected);
    void ReadyCB(const std::vector<std::string>& endpoints);
    void NotReadyCB(const std::vector<std::string>& endpoints);
    void HandleSystemInfo(const Callback<DeviceManagerPb::DeviceInfo>& onAnswer,
                          const Callback<Gatrix::Error>& onError);
    void HandleNote(const Callback<DFSCommonPB::FilepathResponseMsg>& onAnswer, const Callback<Gatrix::Error>& onError);
    void HandleState(const Callback<DFSCommonPB::PayloadResponseMsg>& onAnswer, const Callback<Gatrix::Error>& onError);
    void RegisterItem(const char* endpoint, const char* subType, DFSCommonPB::HarvestType harvestType);
    void RegistrationCB(const DFSCommonPB::diagItemRegistrationResponse& response);
    void RegistrationErrorCB(const Gatrix::Error& error);
    void PostUploadOnce();
    void UploadCB(const DFSCommonPB::UploadResponse& response);
    void UploadErrorCB(const Gatrix::Error& error);

    const PeerOptions m_options;
    std::shared_ptr<Gatrix::GatrixClientIF> m_gatrix;
    bool m_hasPosted = false;
    /** Answers to registrations that are still to come before the upload is posted. */
    int m_pendingRegistrations = 0;
    std::promise<void> m_ready;
    std::promise<bool> m_answer;
};

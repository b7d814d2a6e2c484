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

namespace GatrixPeer
{

/** What a peer does. */
struct Options
{
    std::uint16_t port = 8084;        ///< Of the gateway, on this machine.
    std::chrono::seconds timeout{30}; ///< How long the diagnostic-file service may take to be there.
    bool isStaying = false;           ///< Whether to go on offering endpoints after the upload was answered.
    std::string payload = "zone=Kitchen; state=playing; volume=31"; ///< What the payload endpoint answers with.
    DFSCommonPB::UploadRequest upload;                              ///< What is posted.
};

/**
 * A small on-device service: offers three endpoints on the gateway, registers two of them as diagnostic items, posts an
 * upload and prints what happens.
 */
class Peer : public APTask
{
public:
    /** Writes the file that the peer offers, and begins to connect. @throws std::runtime_error */
    explicit Peer(Options options);
    ~Peer() override;

    /** Waits until the upload is posted. To be called once. Blocks. @return false after the options' timeout */
    bool WaitUntilReady();

    /** Waits for the answer to the upload. To be called once. Blocks. @return whether it succeeded */
    bool WaitForAnswer();

private:
    using RefusalCallback = Callback<Gatrix::Error>;
    template <class Answer>
    using Handler = void (Peer::*)(const Callback<Answer>& onAnswer, const RefusalCallback& onError);

    template <class Answer>
    void Offer(const char* endpoint, Handler<Answer> handler);
    void ConnectionCB(bool isConnected);
    void ReadyCB(const std::vector<std::string>& endpoints);
    void NotReadyCB(const std::vector<std::string>& endpoints);
    void HandleSystemInfo(const Callback<DeviceManagerPb::DeviceInfo>& onAnswer, const RefusalCallback& onError);
    void HandleNote(const Callback<DFSCommonPB::FilepathResponseMsg>& onAnswer, const RefusalCallback& onError);
    void HandleState(const Callback<DFSCommonPB::PayloadResponseMsg>& onAnswer, const RefusalCallback& onError);
    void RegisterItem(const char* endpoint, const char* subType, DFSCommonPB::HarvestType harvestType);
    void RegistrationCB(const DFSCommonPB::diagItemRegistrationResponse& response);
    void RegistrationErrorCB(const Gatrix::Error& error);
    void PostUploadOnce();
    void UploadCB(const DFSCommonPB::UploadResponse& response);
    void UploadErrorCB(const Gatrix::Error& error);

    const Options m_options;
    std::shared_ptr<Gatrix::GatrixClientIF> m_gatrix;
    bool m_hasPosted = false;
    int m_pendingRegistrations = 0; ///< The upload is posted once all are answered.
    std::promise<void> m_ready;
    std::promise<bool> m_answer;
};

} // namespace GatrixPeer

#include "Peer.h"

#include "Escape.h"
#include "GatrixClient.h"

#include <fstream>
#include <iostream>
#include <sstream>
#include <stdexcept>
#include <utility>

namespace GatrixPeer
{

namespace
{
constexpr char kUploadEndpoint[] = "/dfservice/upload";
constexpr char kRegistrationEndpoint[] = "/dfservice/diagitemregistration";
constexpr char kSystemInfoEndpoint[] = "/system/info";
constexpr char kNoteEndpoint[] = "/peer/note";
constexpr char kStateEndpoint[] = "/peer/state";
constexpr char kNoteFile[] = "/tmp/gatrix-peer-note.txt";
constexpr char kGroup[] = "GatrixPeer";
constexpr double kVersion = 1.0;

template <class... Parts>
void Say(const Parts&... parts)
{
    std::ostringstream text;
    (text << ... << parts);
    std::cout << "gatrix-peer: " << Escape::Text(text.str()) << std::endl;
}
} // namespace

Peer::Peer(Options options) : APTask("gatrix-peer", 0, CTask::NOT_REALTIME, -1), m_options(std::move(options))
{
    std::ofstream note(kNoteFile);
    note << "A note that gatrix-peer left on the device.\n" << std::flush;
    if (!note) {
        throw std::runtime_error(std::string(kNoteFile) + " cannot be written");
    }
    Gatrix::CommonClientCreationInfo creationInfo;
    // A server may have the service retry for long, but an answer that is lost must not keep this program for ever.
    creationInfo.requestLimit = std::chrono::hours(1);
    m_gatrix = Gatrix::GatrixClient::Create("gatrix-peer", "localhost", m_options.port, "devkit", "",
                                            Gatrix::GatrixClient::ConnectionCallback(this, this, &Peer::ConnectionCB),
                                            std::nullopt, creationInfo);
    Start();
}

Peer::~Peer()
{
    Stop();
}

bool Peer::WaitUntilReady()
{
    return m_ready.get_future().wait_for(m_options.timeout) == std::future_status::ready;
}

bool Peer::WaitForAnswer()
{
    return m_answer.get_future().get();
}

void Peer::ConnectionCB(bool isConnected)
{
    if (!isConnected) {
        Say("the gateway is gone; waiting for it to come back");
        return;
    }
    Say("connected to the gateway, offers ", kSystemInfoEndpoint, ", ", kNoteEndpoint, " and ", kStateEndpoint);
    Offer(kSystemInfoEndpoint, &Peer::HandleSystemInfo);
    Offer(kNoteEndpoint, &Peer::HandleNote);
    Offer(kStateEndpoint, &Peer::HandleState);
    using EndpointsCallback = Gatrix::GatrixClientIF::EndpointsCallback;
    m_gatrix->RegisterEndpointsOfInterest({kUploadEndpoint, kRegistrationEndpoint},
                                          EndpointsCallback(this, this, &Peer::ReadyCB),
                                          EndpointsCallback(this, this, &Peer::NotReadyCB));
}

template <class Answer>
void Peer::Offer(const char* endpoint, Handler<Answer> handler)
{
    m_gatrix->RegisterGetHandler(endpoint, Gatrix::GatrixClientIF::GetHandler<Answer>(this, this, handler), kGroup);
}

void Peer::ReadyCB(const std::vector<std::string>& /*endpoints*/)
{
    // Each time: a service that has restarted has forgotten the items.
    RegisterItem(kNoteEndpoint, "peer note", DFSCommonPB::GATRIX_RESPONSE_FILEPATH);
    RegisterItem(kStateEndpoint, "peer state", DFSCommonPB::GATRIX_RESPONSE_PAYLOAD);
}

void Peer::NotReadyCB(const std::vector<std::string>& endpoints)
{
    Say("nobody handles ", endpoints.empty() ? "the service's endpoints" : endpoints.front(), " any more");
}

void Peer::HandleSystemInfo(const Callback<DeviceManagerPb::DeviceInfo>& onAnswer, const RefusalCallback& /*onError*/)
{
    DeviceManagerPb::DeviceInfo info;
    info.set_name("Kitchen");
    info.set_producttype("soundbar");
    info.set_softwareversion("1.0.67");
    Say("was asked for ", kSystemInfoEndpoint, ", answers with the name ", info.name());
    onAnswer(info);
}

void Peer::HandleNote(const Callback<DFSCommonPB::FilepathResponseMsg>& onAnswer, const RefusalCallback& /*onError*/)
{
    Say("was asked for ", kNoteEndpoint, ", answers with the path ", kNoteFile);
    DFSCommonPB::FilepathResponseMsg answer;
    answer.set_filepathtoupload(kNoteFile);
    onAnswer(answer);
}

void Peer::HandleState(const Callback<DFSCommonPB::PayloadResponseMsg>& onAnswer, const RefusalCallback& /*onError*/)
{
    Say("was asked for ", kStateEndpoint, ", answers with the payload ", m_options.payload);
    DFSCommonPB::PayloadResponseMsg answer;
    answer.set_payloadtoupload(m_options.payload);
    onAnswer(answer);
}

void Peer::RegisterItem(const char* endpoint, const char* subType, DFSCommonPB::HarvestType harvestType)
{
    DFSCommonPB::diagItemRegistration registration;
    registration.set_input(endpoint);
    registration.set_filetype(DFSCommonPB::INTROSPECTION);
    registration.set_subtype(subType);
    registration.set_harvesttype(harvestType);
    Say("registers the item '", subType, "': ", DFSCommonPB::HarvestType_Name(harvestType), " from ", endpoint);
    ++m_pendingRegistrations;
    m_gatrix->SendPostRequest(
        kRegistrationEndpoint, registration, kVersion,
        AsyncCallback<DFSCommonPB::diagItemRegistrationResponse>(this, this, &Peer::RegistrationCB),
        Gatrix::GatrixClientIF::ErrorCallback(this, this, &Peer::RegistrationErrorCB));
}

void Peer::RegistrationCB(const DFSCommonPB::diagItemRegistrationResponse& response)
{
    Say("registration answered: ", response.statuscode(), ' ', response.message());
    PostUploadOnce();
}

void Peer::RegistrationErrorCB(const Gatrix::Error& error)
{
    Say("registration refused: ", error.statuscode(), ' ', error.message());
    PostUploadOnce();
}

void Peer::PostUploadOnce()
{
    --m_pendingRegistrations;
    if (m_pendingRegistrations > 0 || m_hasPosted) {
        return;
    }
    m_hasPosted = true;
    m_ready.set_value();
    Say("posts an upload: ", m_options.upload.ShortDebugString());
    m_gatrix->SendPostRequest(kUploadEndpoint, m_options.upload, kVersion,
                              AsyncCallback<DFSCommonPB::UploadResponse>(this, this, &Peer::UploadCB),
                              Gatrix::GatrixClientIF::ErrorCallback(this, this, &Peer::UploadErrorCB));
}

void Peer::UploadCB(const DFSCommonPB::UploadResponse& response)
{
    Say("upload answered: ", response.statuscode(), ' ', response.message());
    m_answer.set_value(true);
}

void Peer::UploadErrorCB(const Gatrix::Error& error)
{
    Say("upload refused: ", error.statuscode(), ' ', error.message());
    m_answer.set_value(false);
}

} // namespace GatrixPeer

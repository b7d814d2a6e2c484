#pragma once

#include <condition_variable>
#include <deque>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "APTask.h"
#include "Deadline.h"
#include "GatrixClient.h"
#include "UploadSysInfo.pb.h"

/** A task that takes whatever a client brings, and tells it line by line. */
class ClientProbe : public APTask
{
public:
    using Request = DFSCommonPB::UploadRequest;
    using Answer = DFSCommonPB::UploadResponse;
    using Reply = std::pair<Callback<Answer>, Callback<Gatrix::Error>>;

    ClientProbe() : APTask("ClientProbe", 0, CTask::NOT_REALTIME, -1) { Start(); }
    ~ClientProbe() override { Stop(); }

    /** The next line; "nothing" when none comes. */
    std::string Next()
    {
        std::unique_lock lock(m_mutex);
        m_changed.wait_for(lock, kDeadline, [this] { return !m_lines.empty(); });
        if (m_lines.empty()) {
            return "nothing";
        }
        std::string line = std::move(m_lines.front());
        m_lines.pop_front();
        return line;
    }

    /** What answers the latest request that a line told of. */
    Reply TakeReply()
    {
        const std::lock_guard lock(m_mutex);
        return std::exchange(m_reply, {});
    }

    const AsyncCallback<const bool> connection{this, this, &ClientProbe::OnConnection};
    const AsyncCallback<const std::string, const GATRIX_CLIENT_ERRORS> error{this, this, &ClientProbe::OnError};
    const AsyncCallback<const std::vector<std::string>> ready{this, this, &ClientProbe::OnReady};
    const AsyncCallback<const std::vector<std::string>> notReady{this, this, &ClientProbe::OnNotReady};
    const AsyncCallback<const std::string> raw{this, this, &ClientProbe::OnRaw};
    const AsyncCallback<Answer> typed{this, this, &ClientProbe::OnTyped};
    const AsyncCallback<Gatrix::Error> refused{this, this, &ClientProbe::OnRefused};
    const AsyncCallback<Request> notified{this, this, &ClientProbe::OnNotified};
    const Gatrix::GatrixClientIF::PostHandler<Request, Answer> post{this, this, &ClientProbe::OnPost};
    const Gatrix::GatrixClientIF::GetHandler<Answer> get{this, this, &ClientProbe::OnGet};

private:
    void Tell(const std::string& line)
    {
        const std::lock_guard lock(m_mutex);
        m_lines.push_back(line);
        m_changed.notify_all();
    }
    void TellAndKeep(const std::string& line, Reply reply)
    {
        {
            const std::lock_guard lock(m_mutex);
            m_reply = std::move(reply);
        }
        Tell(line);
    }
    static std::string Joined(std::string text, const std::vector<std::string>& words)
    {
        for (const std::string& word : words) {
            text += " " + word;
        }
        return text;
    }

    void OnConnection(bool isUp) { Tell(isUp ? "connected" : "dropped"); }
    void OnError(const std::string& text, GATRIX_CLIENT_ERRORS kind)
    {
        Tell((kind == GATRIX_CLIENT_ERRORS::PROTOCOL_ERROR ? "protocol error: " : "connection failed: ") + text);
    }
    void OnReady(const std::vector<std::string>& endpoints) { Tell(Joined("ready", endpoints)); }
    void OnNotReady(const std::vector<std::string>& endpoints) { Tell(Joined("not ready", endpoints)); }
    void OnRaw(const std::string& text) { Tell("raw " + text); }
    void OnTyped(const Answer& answer) { Tell("typed " + answer.message()); }
    void OnRefused(const Gatrix::Error& refusal)
    {
        Tell("refused " + std::to_string(refusal.statuscode()) + " " + refusal.message());
    }
    void OnNotified(const Request& request) { Tell("notified " + request.filetoupload()); }
    void OnPost(const Request& request, const Callback<Answer>& answer, const Callback<Gatrix::Error>& refuse)
    {
        TellAndKeep("post " + request.filetoupload(), {answer, refuse});
    }
    void OnGet(const Callback<Answer>& answer, const Callback<Gatrix::Error>& refuse)
    {
        TellAndKeep("get", {answer, refuse});
    }

    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::deque<std::string> m_lines;
    Reply m_reply;
};

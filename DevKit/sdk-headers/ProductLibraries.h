#pragma once

#include <cstdint>
#include <exception>
#include <map>
#include <memory>
#include <optional>
#include <sstream>
#include <string>
#include <type_traits>
#include <vector>

/*
 * What the service may use of the product's closed libraries: declarations by their types, and no member for our own
 * convenience. Each class or namespace stands for the header of its name. The gateway's client, which needs messages,
 * has a header of its own.
 */

class NotifyTargetTaskIF
{
public:
    virtual ~NotifyTargetTaskIF();
};

class CTask
{
public:
    enum RealtimeType
    {
        NOT_REALTIME = 0,
    };

    CTask(const char*, bool, RealtimeType, int);
    virtual ~CTask();
    void Start();

protected:
    virtual void ThreadBody() = 0;
};

class APTask : public CTask, public NotifyTargetTaskIF
{
public:
    APTask(const char*, unsigned int, CTask::RealtimeType, int);
    ~APTask() override;
    void Stop();

protected:
    virtual void OnEntry();

private:
    void ThreadBody() final;
};

class APTaskManager
{
public:
    APTaskManager();
    virtual ~APTaskManager();
    void AddTask(APTask*);
    void StartAllTasks();
    void JoinAllTasks();

protected:
    virtual void CreateAllTasks();
};

namespace IL
{
NotifyTargetTaskIF* CreateTask(const std::string&, const std::string&);
}

class CallbackConnection
{
public:
    explicit CallbackConnection(NotifyTargetTaskIF*);
    ~CallbackConnection();
};

template <typename... Args>
class Callback
{
public:
    Callback();

    template <class Object, class... Parameters>
    Callback(Object*, void (Object::*)(Parameters...));

    explicit operator bool() const;
    void operator()(Args...) const;
};

template <typename... Args>
class AsyncCallback
{
public:
    AsyncCallback();
    template <class Object, class... Parameters>
    AsyncCallback(NotifyTargetTaskIF*, Object*, void (Object::*)(Parameters...));
    template <class Object, class... Parameters>
    AsyncCallback(NotifyTargetTaskIF*, std::shared_ptr<Object>, void (Object::*)(Parameters...));
    template <class Object, class... Parameters>
    AsyncCallback(const CallbackConnection&, Object*, void (Object::*)(Parameters...));

    void operator()(std::decay_t<Args>...) const;
};

class CliClientMT
{
public:
    using Reply = AsyncCallback<std::string, int>;
    using Handler = Callback<std::uint16_t, std::vector<std::string>, Reply, int>;

    explicit CliClientMT(const std::string&);
    void Initialize(NotifyTargetTaskIF*);
    void RegisterCLIServerCommands(const std::string&, const std::string&, const std::string&, NotifyTargetTaskIF*,
                                   Handler, std::uint16_t);
    void SendAsyncResponse(const std::string&);
};

class DPrint
{
public:
    explicit DPrint(const char*);

    static void Initialize();
    bool IsLog(int) const;
    std::ostream& Prefix(std::ostream&, int, const char*) const;
    void Put(const std::ostringstream&) const;
    void Log(int, const char*, ...) const __attribute__((format(printf, 3, 4)));
    void LogWarning(const char*, ...) const __attribute__((format(printf, 2, 3)));
};

class Base64Encoder
{
public:
    static std::string Decode(const std::string&);
};

class MfgData
{
public:
    static std::optional<std::string> Get(const std::string&);
};

class NameValueFile
{
public:
    explicit NameValueFile(const std::string&);
    std::string Get(const std::string&, const std::string&) const;
};

class ProtoPersistenceIF
{
public:
    class ProtoPersistenceException : public std::exception
    {};

    virtual ~ProtoPersistenceIF();
    virtual void Store(const std::string&) = 0;
};

class ProtoPersistenceFactory
{
public:
    static std::shared_ptr<ProtoPersistenceIF> Create(const std::string&, const std::string&);
};

namespace google::protobuf
{
class Message;
}

class ProtoToMarkup
{
public:
    class MarkupError : public std::exception
    {};

    static std::string ToJson(const google::protobuf::Message&, bool, bool, bool);
    static void FromJson(const std::string&, google::protobuf::Message&);
    static void FromJson(const std::string&, google::protobuf::Message&, const std::string&);
};

namespace StringUtils
{
std::string FindReplace(std::string, const std::string&, const std::string&);
std::string trim(std::string);
std::string ToJson(const std::map<std::string, std::string>&);
template <class T>
std::string ToString(const T&);
} // namespace StringUtils

namespace SystemUtils
{
void ThereCanBeOnlyOne();
std::string GetEXE();
bool Exists(const std::string&);
std::string ReadFile(const std::string&);
} // namespace SystemUtils

#pragma once

#include <cstdint>
#include <exception>
#include <iosfwd>
#include <map>
#include <memory>
#include <optional>
#include <sstream>
#include <string>
#include <type_traits>
#include <vector>

/*
 * What the service may use of the product's closed libraries: declarations, and no member for our own convenience. Each
 * class or namespace stands for the header of its name. The gateway's client, which needs messages, has its own
 * headers.
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

    CTask(const char* name, bool detached, RealtimeType realtime, int priority);
    virtual ~CTask();
    void Start();

protected:
    virtual void ThreadBody() = 0;
};

class APTask : public CTask, public NotifyTargetTaskIF
{
public:
    APTask(const char* name, unsigned int, CTask::RealtimeType realtime, int priority);
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
    void AddTask(APTask* task);
    void StartAllTasks();
    void JoinAllTasks();

protected:
    virtual void CreateAllTasks();
};

namespace IL
{
NotifyTargetTaskIF* CreateTask(const std::string& name, const std::string&);
}

template <class T>
class WeakRef;

class CallbackConnection
{
public:
    explicit CallbackConnection(NotifyTargetTaskIF* task);
    ~CallbackConnection();
};

template <typename... Args>
class Callback
{
public:
    Callback();
    Callback(const Callback&);
    Callback& operator=(const Callback&);
    ~Callback();

    template <class Object, class... Parameters>
    Callback(Object* object, void (Object::*member)(Parameters...));

    explicit operator bool() const;
    void operator()(Args... args) const;
};

template <typename... Args>
class AsyncCallback
{
public:
    AsyncCallback();
    AsyncCallback(const AsyncCallback&);
    AsyncCallback& operator=(const AsyncCallback&);
    ~AsyncCallback();

    template <class Object, class... Parameters>
    AsyncCallback(NotifyTargetTaskIF* task, Object* object, void (Object::*member)(Parameters...));
    template <class Object, class... Parameters>
    AsyncCallback(NotifyTargetTaskIF* task, std::shared_ptr<Object> object, void (Object::*member)(Parameters...));
    template <class Object, class... Parameters>
    AsyncCallback(const CallbackConnection& connection, Object* object, void (Object::*member)(Parameters...));

    void operator()(std::decay_t<Args>... args) const;
};

class CliClientMT
{
public:
    using Reply = AsyncCallback<std::string, int>;
    using Handler = Callback<std::uint16_t, std::vector<std::string>, Reply, int>;

    explicit CliClientMT(const std::string& name);
    ~CliClientMT();
    void Initialize(NotifyTargetTaskIF* task);
    void RegisterCLIServerCommands(const std::string& words, const std::string& help, const std::string& usage,
                                   NotifyTargetTaskIF* task, Handler handler, std::uint16_t key);
    void SendAsyncResponse(const std::string& text);
};

class DPrint
{
public:
    explicit DPrint(const char* name);
    ~DPrint();

    static void Initialize();
    bool IsLog(int level) const;
    std::ostream& Prefix(std::ostream& stream, int level, const char* functionName) const;
    void Put(const std::ostringstream& stream) const;
    void Log(int level, const char* format, ...) const __attribute__((format(printf, 3, 4)));
    void LogWarning(const char* format, ...) const __attribute__((format(printf, 2, 3)));
};

class Base64Encoder
{
public:
    static std::string Decode(const std::string& text);
};

class MfgData
{
public:
    static std::optional<std::string> Get(const std::string& name);
};

class NameValueFile
{
public:
    explicit NameValueFile(const std::string& path);
    ~NameValueFile();
    std::string Get(const std::string& name, const std::string& defaultValue) const;
};

class ProtoPersistenceIF
{
public:
    class ProtoPersistenceException : public std::exception
    {
    public:
        const char* what() const noexcept override;
    };

    virtual ~ProtoPersistenceIF();
    virtual void Store(const std::string& text) = 0;
};

class ProtoPersistenceFactory
{
public:
    static std::shared_ptr<ProtoPersistenceIF> Create(const std::string& fileName, const std::string& directory);
};

namespace google::protobuf
{
class Message;
}

class ProtoToMarkup
{
public:
    class MarkupError : public std::exception
    {
    public:
        const char* what() const noexcept override;
    };

    static std::string ToJson(const google::protobuf::Message& message, bool, bool, bool);
    static void FromJson(const std::string& text, google::protobuf::Message& message);
    static void FromJson(const std::string& text, google::protobuf::Message& message, const std::string& rootName);
};

namespace StringUtils
{
std::string FindReplace(std::string text, const std::string& from, const std::string& to);
std::string trim(std::string text);
std::string ToJson(const std::map<std::string, std::string>& values);
template <class T>
std::string ToString(const T& value);
} // namespace StringUtils

namespace SystemUtils
{
void ThereCanBeOnlyOne();
std::string GetEXE();
bool Exists(const std::string& path);
std::string ReadFile(const std::string& path);
} // namespace SystemUtils

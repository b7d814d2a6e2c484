#pragma once

#include "CloudServer.h"
#include "Deadline.h"
#include "FileDescriptor.h"
#include "TemporaryFolder.h"

#include <gmock/gmock.h>

#include <string>

/** A client that sends its bytes, whether or not they make a request. */
class Client
{
public:
    Client(const DiagCloud::CloudServer& cloud, const std::string& bytes);

    /** What is sent up to the end of the connection; " RESET" follows when it ended so. */
    std::string ReadAll() const;

private:
    FileDescriptor m_socket;
};

/** Matches a whole answer of that status that has the text. */
testing::Matcher<std::string> Answer(int status, const std::string& text = "");

/** A cloud with a store of its own. */
class TestCloud : private TemporaryFolder, public DiagCloud::CloudServer
{
public:
    explicit TestCloud(const std::string& script = "[]", DiagCloud::CloudSettings settings = {});

    const std::string& Folder() const { return TemporaryFolder::Path(); }

    /** The number of files in the store. */
    std::size_t Stored() const { return NamesIn(Folder()).size(); }

    /** The answer to a request. @param headers each with the end of its line */
    std::string Ask(const std::string& requestLine, const std::string& headers = "",
                    const std::string& body = "") const;

    /** Posts metadata as a device does, through the proxy. */
    std::string PostMetadata(const std::string& body = kMetadata) const;

    /** Posts metadata and returns the path of the archive. */
    std::string Announce() const;

    std::string PostArchive(const std::string& path) const { return Ask("POST " + path, kMd5, kContent); }

    /** The request of that number as it was recorded. @throws std::bad_optional_access when it does not come in time */
    DiagCloud::ReceivedRequest Request(std::size_t number) const { return WaitForRequest(number, kDeadline).value(); }

    static const std::string kMetadata;
    static const std::string kContent;
    static const std::string kMd5; ///< The header of the content.
};

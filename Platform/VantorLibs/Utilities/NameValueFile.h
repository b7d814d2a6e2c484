#pragma once

#include <cstddef>
#include <map>
#include <optional>
#include <string>

/**
 * A flat JSON file of names and values. The values are texts, numbers or booleans and are given back as text, a number
 * exactly as the file writes it ("1.10" stays "1.10").
 *
 * Nothing here throws for what a file holds: a file that is missing, unreadable, too large or not a JSON object acts as
 * one without names; null, a list or an object acts as an absent value. Each such miss is logged at level 2.
 * The file is read once, by the constructor. Thread-safe.
 */
class NameValueFile
{
public:
    /** Largest file, in bytes. Its values are sent on, and kept while they are. */
    static constexpr std::size_t kMaxSize = std::size_t{64} * 1024;

    explicit NameValueFile(const std::string& path);

    /** The value of that name, or the default if the file has none. */
    std::string Get(const std::string& name, const std::string& defaultValue) const;

    /** The value of that name, if the file has one. */
    std::optional<std::string> Find(const std::string& name) const;

private:
    const std::string m_path;
    /** No text for a name whose value is null, a list or an object. */
    std::map<std::string, std::optional<std::string>> m_values;
};

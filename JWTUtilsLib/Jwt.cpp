#include "Jwt.h"

#include "DPrint.h"
#include "JsonReader.h"
#include "JwtAlgorithm.h"
#include "JwtSignature.h"
#include "WallClock.h"

#include <limits>
#include <stdexcept>
#include <utility>

namespace JwtUtils
{
namespace
{
const DPrint s_log("JwtUtils::Jwt");

bool IsPlain(const Json::Value& value)
{
    return !value.isArray() && !value.isObject();
}

void Keep(Jwt::Members& members, const std::string& name, const Json::Value& value)
{
    if (IsPlain(value)) {
        members[name] = value.asString();
    } else if (value.isObject() || value.size() > 1) {
        members[name] = value.toStyledString();
    } else if (value.size() == 1 && IsPlain(value[0])) {
        members[name] = value[0].asString();
    }
}

// left + right, or the number nearest to it.
std::int64_t Sum(std::int64_t left, std::int64_t right)
{
    using Limits = std::numeric_limits<std::int64_t>;
    if (right > 0 && left > Limits::max() - right) {
        return Limits::max();
    }
    if (right < 0 && left < Limits::min() - right) {
        return Limits::min();
    }
    return left + right;
}

// left - right, or the number nearest to it.
std::int64_t Difference(std::int64_t left, std::int64_t right)
{
    // The least number has no opposite: one less is subtracted, and then one more.
    return right == std::numeric_limits<std::int64_t>::min() ? Sum(Sum(left, -(right + 1)), 1) : Sum(left, -right);
}
} // namespace

Jwt::Jwt(std::string token) : m_token(std::move(token))
{
    ParseJwtString();
}

void Jwt::ParseJwtString()
{
    m_firstDot = m_token.find('.');
    if (m_firstDot != std::string::npos) {
        m_secondDot = m_token.find('.', m_firstDot + 1);
    }
    if (m_secondDot == std::string::npos) {
        m_error = JwtError::JWT_FORMAT_ERROR;
        s_log.Log(3, "%s: Invalid JWT: %s", __func__, m_token.c_str());
    } else {
        ParseJson(DecodeSegment(m_token.substr(0, m_firstDot)), m_header);
        ParseJson(DecodeSegment(m_token.substr(m_firstDot + 1, m_secondDot - m_firstDot - 1)), m_claims);
        if (m_header.empty() || m_claims.empty()) {
            m_error = JwtError::JSON_PARSE_ERROR;
            s_log.Log(3, "%s: Invalid JWT", __func__);
        }
    }
    m_isValid = m_error == JwtError::NO_ERROR;
    if (!m_isValid) {
        s_log.Log(2, "%s: JWT parsing failed with error code: %s", __func__, ToText(m_error));
    }
}

void Jwt::ParseJson(const std::string& text, Members& members)
{
    const JsonReader::Result read = JsonReader::Read(text, kMaxDepth);
    if (!read.value || !read.value->isObject()) {
        s_log.Log(3, "%s: Could not parse JWT JSON: %s", __func__, read.value ? "it is no object" : read.error.c_str());
        return;
    }
    const Json::Value& object = *read.value;
    s_log.Log(6, "%s: Parsed %d values", __func__, static_cast<int>(object.size()));
    for (auto member = object.begin(); member != object.end(); ++member) {
        Keep(members, member.name(), *member);
    }
}

std::string Jwt::TextOf(const Members& members, const char* name)
{
    const auto found = members.find(name);
    return found != members.end() ? found->second : std::string();
}

std::int64_t Jwt::TimeOf(const char* name) const
{
    const auto found = m_claims.find(name);
    if (found == m_claims.end()) {
        return 0;
    }
    const std::string complaint = "stoll: claim '" + found->first + "' is '" + found->second + "'";
    try {
        return std::stoll(found->second);
    } catch (const std::out_of_range&) {
        throw std::out_of_range(complaint);
    } catch (const std::invalid_argument&) {
        throw std::invalid_argument(complaint);
    }
}

JwtError Jwt::Validate()
{
    s_log.Log(4, "%s", __func__);
    if (m_error == JwtError::NO_ERROR) {
        const std::string name = Alg();
        if (const Algorithm* algorithm = FindAlgorithm(name)) {
            s_log.Log(3, "%s: Loaded JWT with key type %s-%s", __func__, ToText(algorithm->keyType),
                      ToText(algorithm->digestType));
        } else {
            m_error = JwtError::INVALID_SIGNATURE_ALGORITHM;
            s_log.Log(3, "%s: Loaded JWT with unsupported key algorithm: '%s'", __func__, name.c_str());
        }
    }
    m_isValid = m_error == JwtError::NO_ERROR;
    if (!m_isValid) {
        s_log.Log(2, "%s: Validation failed with error code: %s", __func__, ToText(m_error));
    }
    return m_error;
}

JwtError Jwt::VerifySignature(const CryptoKey::PublicKey& key)
{
    s_log.Log(4, "%s", __func__);
    JwtError error = Validate();
    if (error == JwtError::NO_ERROR) {
        error = CheckSignature(Alg(), m_token.substr(0, m_secondDot), m_token.substr(m_secondDot + 1), key);
    }
    m_isSignatureVerified = error == JwtError::NO_ERROR;
    if (m_isSignatureVerified) {
        s_log.Log(3, "%s: Signature verification successful.", __func__);
    } else {
        s_log.Log(2, "%s: Signature verification failed with error code: %s", __func__, ToText(error));
    }
    return error;
}

std::string Jwt::ConvertSignature(const CryptoKey::PublicKey& key, const std::string& signature, JwtError& error)
{
    return JwtUtils::ConvertSignature(key, signature, error);
}

JwtError Jwt::HasExpired(std::int64_t leewaySeconds) const
{
    return HasExpired(leewaySeconds, WallClock::Seconds());
}

JwtError Jwt::HasExpired(std::int64_t leewaySeconds, std::int64_t now) const
{
    if (!m_isValid) {
        return m_error;
    }
    if (!m_isSignatureVerified) {
        return JwtError::SIGNATURE_NOT_VERIFIED;
    }
    const std::int64_t exp = Exp();
    const std::int64_t nbf = Nbf();
    s_log.Log(4, "%s: now=%lld nbf=%lld exp=%lld", __func__, static_cast<long long>(now), static_cast<long long>(nbf),
              static_cast<long long>(exp));
    if (exp != 0 && now >= Sum(exp, leewaySeconds)) {
        return JwtError::JWT_PAST_EXPIRATION;
    }
    if (nbf != 0 && now < Difference(nbf, leewaySeconds)) {
        return JwtError::JWT_BEFORE_NBF;
    }
    return JwtError::NO_ERROR;
}
} // namespace JwtUtils

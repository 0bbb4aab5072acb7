/// Base64, MD5 and two text encoders: beside OpenSSL, beside ours without wide steps, and beside encoders written
/// down as they come. memcpy is what nothing can beat.

// The plain MD5 of OpenSSL, which makes no context, has been set aside by its makers but is the fairer peer.
#define OPENSSL_SUPPRESS_DEPRECATED

#include <cstdio>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>
#include <openssl/evp.h>
#include <openssl/md5.h>

#include "KFramework/string.h"
#include "KFramework/string/base64.h"

namespace
{

using KFramework::KStringHelper::EncodeURL;
using KFramework::KStringHelper::jsonEncoder;

std::string random_bytes(benchmark::State& state)
{
    std::mt19937 random(1);
    std::string bytes(static_cast<std::size_t>(state.range(0)), '\0');
    for (char& c : bytes)
        c = static_cast<char>(random());
    return bytes;
}

/// The text of random bytes; as many bytes as give whole groups.
std::string random_base64(benchmark::State& state)
{
    std::string bytes = random_bytes(state);
    bytes.resize(bytes.size() / 3 * 3);
    std::string text(bytes.size() / 3 * 4, '\0');
    KFramework::KBase64::Encode(bytes.data(), bytes.size(), text.data(), text.size());
    return text;
}

/// Words, and an escape about every twenty bytes.
std::string prose(benchmark::State& state)
{
    std::mt19937 random(1);
    std::string text(static_cast<std::size_t>(state.range(0)), '\0');
    for (char& c : text)
        c = random() % 20 == 0 ? "\"\n\\ "[random() % 4] : static_cast<char>('a' + random() % 26);
    return text;
}

const unsigned char* bytes_of(const std::string& text)
{
    return reinterpret_cast<const unsigned char*>(text.data());
}

unsigned char* bytes_of(std::string& text)
{
    return reinterpret_cast<unsigned char*>(text.data());
}

void encode_ours(benchmark::State& state)
{
    const std::string in = random_bytes(state);
    std::string out(2 * in.size(), '\0');
    for ([[maybe_unused]] auto step : state)
    {
        KFramework::KBase64::Encode(in.data(), in.size(), out.data(), out.size());
        benchmark::ClobberMemory();
    }
}

void encode_plain(benchmark::State& state)
{
    const kf::string::base64_kernel& plain = kf::string::base64_kernels().back();
    const std::string in = random_bytes(state);
    std::string out(2 * in.size(), '\0');
    for ([[maybe_unused]] auto step : state)
    {
        kf::string::base64_encode(plain, in.data(), in.size(), out.data(), out.size());
        benchmark::ClobberMemory();
    }
}

void encode_openssl(benchmark::State& state)
{
    const std::string in = random_bytes(state);
    std::string out(2 * in.size(), '\0');
    for ([[maybe_unused]] auto step : state)
    {
        EVP_EncodeBlock(bytes_of(out), bytes_of(in), static_cast<int>(in.size()));
        benchmark::ClobberMemory();
    }
}

void decode_ours(benchmark::State& state)
{
    const std::string in = random_base64(state);
    std::string out(in.size(), '\0');
    for ([[maybe_unused]] auto step : state)
    {
        unsigned long long size = out.size();
        benchmark::DoNotOptimize(KFramework::KBase64::Decode(in.data(), in.size(), out.data(), &size));
        benchmark::ClobberMemory();
    }
}

void decode_plain(benchmark::State& state)
{
    const kf::string::base64_kernel& plain = kf::string::base64_kernels().back();
    const std::string in = random_base64(state);
    std::string out(in.size(), '\0');
    for ([[maybe_unused]] auto step : state)
    {
        benchmark::DoNotOptimize(
            kf::string::base64_decode(plain, in.data(), in.size(), out.data(), out.size()));
        benchmark::ClobberMemory();
    }
}

void decode_openssl(benchmark::State& state)
{
    const std::string in = random_base64(state);
    std::string out(in.size(), '\0');
    for ([[maybe_unused]] auto step : state)
    {
        benchmark::DoNotOptimize(EVP_DecodeBlock(bytes_of(out), bytes_of(in), static_cast<int>(in.size())));
        benchmark::ClobberMemory();
    }
}

void copy(benchmark::State& state)
{
    const std::string in = random_bytes(state);
    std::string out(in.size(), '\0');
    for ([[maybe_unused]] auto step : state)
    {
        std::memcpy(out.data(), in.data(), in.size());
        benchmark::ClobberMemory();
    }
}

void md5_ours(benchmark::State& state)
{
    using namespace KFramework::TZMd5;
    const std::string in = random_bytes(state);
    for ([[maybe_unused]] auto step : state)
    {
        md5_state_s digesting;
        unsigned char digest[16];
        md5_init(&digesting);
        md5_append(&digesting, bytes_of(in), static_cast<int>(in.size()));
        md5_finish(&digesting, digest);
        benchmark::DoNotOptimize(digest);
    }
}

void md5_openssl(benchmark::State& state)
{
    const std::string in = random_bytes(state);
    for ([[maybe_unused]] auto step : state)
    {
        unsigned char digest[MD5_DIGEST_LENGTH];
        MD5(bytes_of(in), in.size(), digest);
        benchmark::DoNotOptimize(digest);
    }
}

void md5_evp(benchmark::State& state)
{
    const std::string in = random_bytes(state);
    for ([[maybe_unused]] auto step : state)
    {
        unsigned char digest[EVP_MAX_MD_SIZE];
        EVP_Digest(in.data(), in.size(), digest, nullptr, EVP_md5(), nullptr);
        benchmark::DoNotOptimize(digest);
    }
}

std::string plain_json(const std::string& text)
{
    std::string result = "\"";
    for (const char c : text)
        switch (c)
        {
        case '\b':
            result += "\\b";
            break;
        case '\f':
            result += "\\f";
            break;
        case '\n':
            result += "\\n";
            break;
        case '\r':
            result += "\\r";
            break;
        case '\t':
            result += "\\t";
            break;
        case '"':
            result += "\\\"";
            break;
        case '\\':
            result += "\\\\";
            break;
        default:
            result += c;
        }
    return result + '"';
}

std::string plain_url(const std::string& text)
{
    std::string result;
    for (const char c : text)
    {
        if ((c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '.' ||
            c == '/' || c == '-' || c == '_')
            result += c;
        else if (c == ' ')
            result += '+';
        else
        {
            char escape[4];
            std::snprintf(escape, sizeof escape, "%%%02X",
                          static_cast<unsigned>(static_cast<unsigned char>(c)));
            result += escape;
        }
    }
    return result;
}

template <std::string (*Encode)(const std::string&)>
void write_text(benchmark::State& state)
{
    const std::string text = prose(state);
    for ([[maybe_unused]] auto step : state)
        benchmark::DoNotOptimize(Encode(text));
}

constexpr int kLong = 65536, kShort = 64;

BENCHMARK(encode_ours)->Name("base64_encode_64K/ours")->Arg(kLong)->UseRealTime();
BENCHMARK(encode_plain)->Name("base64_encode_64K/ours_plain")->Arg(kLong)->UseRealTime();
BENCHMARK(encode_openssl)->Name("base64_encode_64K/openssl")->Arg(kLong)->UseRealTime();
BENCHMARK(copy)->Name("base64_encode_64K/memcpy")->Arg(kLong)->UseRealTime();
BENCHMARK(encode_ours)->Name("base64_encode_64B/ours")->Arg(kShort)->UseRealTime();
BENCHMARK(encode_plain)->Name("base64_encode_64B/ours_plain")->Arg(kShort)->UseRealTime();
BENCHMARK(encode_openssl)->Name("base64_encode_64B/openssl")->Arg(kShort)->UseRealTime();

BENCHMARK(decode_ours)->Name("base64_decode_64K/ours")->Arg(kLong)->UseRealTime();
BENCHMARK(decode_plain)->Name("base64_decode_64K/ours_plain")->Arg(kLong)->UseRealTime();
BENCHMARK(decode_openssl)->Name("base64_decode_64K/openssl")->Arg(kLong)->UseRealTime();
BENCHMARK(copy)->Name("base64_decode_64K/memcpy")->Arg(kLong)->UseRealTime();
BENCHMARK(decode_ours)->Name("base64_decode_64B/ours")->Arg(kShort)->UseRealTime();
BENCHMARK(decode_plain)->Name("base64_decode_64B/ours_plain")->Arg(kShort)->UseRealTime();
BENCHMARK(decode_openssl)->Name("base64_decode_64B/openssl")->Arg(kShort)->UseRealTime();

BENCHMARK(md5_ours)->Name("md5_64K/ours")->Arg(kLong)->UseRealTime();
BENCHMARK(md5_openssl)->Name("md5_64K/openssl")->Arg(kLong)->UseRealTime();
BENCHMARK(md5_evp)->Name("md5_64K/openssl_evp")->Arg(kLong)->UseRealTime();
BENCHMARK(md5_ours)->Name("md5_64B/ours")->Arg(kShort)->UseRealTime();
BENCHMARK(md5_openssl)->Name("md5_64B/openssl")->Arg(kShort)->UseRealTime();
BENCHMARK(md5_evp)->Name("md5_64B/openssl_evp")->Arg(kShort)->UseRealTime();

BENCHMARK(write_text<&jsonEncoder>)->Name("json_64K/ours")->Arg(kLong)->UseRealTime();
BENCHMARK(write_text<&plain_json>)->Name("json_64K/plain")->Arg(kLong)->UseRealTime();
BENCHMARK(write_text<&EncodeURL>)->Name("url_64K/ours")->Arg(kLong)->UseRealTime();
BENCHMARK(write_text<&plain_url>)->Name("url_64K/plain")->Arg(kLong)->UseRealTime();

} // namespace

/// Does what standard input says with one LDAP session, a line at a time, the words between tabs.
///
///     open HOST PORT SSL
///     connect
///     bind NAME PASSWORD
///     search BASE FILTER NAMES    names of attributes between commas
///     close
///
/// Each answer is "ok" or "failed CODE", for a search then "entry" and the lines "NAME<tab>VALUE" of each entry, and
/// ends with a line ".".

#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <io.h>
#include <iostream>
#include <string>
#include <vector>

#include "KFramework/ldap.h"
#include "KFramework/string.h"

using namespace KFramework::KLDAP;
using KFramework::KStringHelper::TokenizeStringNoStripe;

namespace
{
constexpr unsigned int kUntouched = 4711;

void say(const std::string& line)
{
    std::fwrite(line.data(), 1, line.size(), stdout);
    std::fputc('\n', stdout);
}

void say_result(bool good, unsigned int error)
{
    say(good && error == kUntouched ? "ok"
        : good                      ? "ok " + std::to_string(error)
                                    : "failed " + std::to_string(error));
}

void find(ldap* session, const std::vector<std::string>& words)
{
    std::set<std::string> names;
    for (const std::string& name : TokenizeStringNoStripe(words.at(3), ","))
        if (!name.empty())
            names.insert(name);
    std::list<KldapObject*> found;
    unsigned int error = kUntouched;
    const bool good = search(session, words.at(1).c_str(), words.at(2).c_str(), &names, &found, &error);
    say_result(good, error);
    for (const KldapObject* object : found)
    {
        say("entry");
        for (const auto& [name, value] : object->attributes)
            say(name + "\t" + value);
        delete object;
    }
}
} // namespace

int wmain()
{
    ::_setmode(::_fileno(stdout), _O_BINARY);
    ldap* session = nullptr;
    for (std::string line; std::getline(std::cin, line);)
    {
        const std::vector<std::string> words = TokenizeStringNoStripe(line, "\t");
        const std::string& request = words.at(0);
        unsigned int error = kUntouched;
        if (request == "open")
        {
            session = allocateSession(words.at(1).c_str(), std::atoi(words.at(2).c_str()),
                                      std::atoi(words.at(3).c_str()), &error);
            say_result(session != nullptr, error);
        }
        else if (request == "connect")
        {
            const bool good = connectSession(session, &error);
            say_result(good, error);
        }
        else if (request == "bind")
        {
            const bool good = bindSession(session, words.at(1).c_str(), words.at(2).c_str(), nullptr, &error);
            say_result(good, error);
        }
        else if (request == "search")
            find(session, words);
        else
        {
            unbindSession(session);
            session = nullptr;
            say("ok");
        }
        say(".");
        std::fflush(stdout);
    }
    return 0;
}

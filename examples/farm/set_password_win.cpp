#include "host_win.h"

#include "set_password_win.h"

#include "password.h"
#include "password_input_win.h"
#include "random_win.h"

#include <KFramework/core.h>

#include <cstdio>

namespace farm
{
using namespace KFramework;

namespace
{
int refuse(const char* program, const std::string& wrong, int code)
{
    complain(program, wrong);
    return code;
}

std::string store(const std::string& path, const std::string& key)
{
    config_file file;
    std::string wrong = file.load(path);
    if (wrong.empty())
    {
        InitializeLibrary(nullptr); // saving asks for the time
        wrong = file.set("server", "key", key);
        ShutdownLibrary();
    }
    return wrong;
}
} // namespace

int set_password(const char* program, const std::string& path)
{
    secret password;
    if (const std::string wrong = read_password(password); !wrong.empty())
        return refuse(program, wrong, kBadUsage);
    const std::string salt = random_salt();
    if (salt.empty())
        return refuse(program, "the system gives no random numbers", kCannotStart);
    const std::string key = make_key(password, salt);
    if (const std::string wrong = wrong_key(key); !wrong.empty())
        return refuse(program, "no key can be derived", kCannotStart);
    if (const std::string wrong = store(path, key); !wrong.empty())
        return refuse(program, wrong, kCannotStart);
    std::printf("%s: the key of the new password stands in section [server] of %s\n", program, path.c_str());
    return kSuccess;
}
} // namespace farm

// Random calls, compared with a plain map of paths to values, across saves and reloads.
#include "sandbox.h"

#include <cstring>
#include <cwctype>
#include <map>
#include <random>

namespace {

using Values = std::map<std::wstring, std::wstring>; // by lower-case name
using Model = std::map<std::wstring, Values>;        // by lower-case path; "" is the key all others lie in

class Random : public Sandbox {
  protected:
    std::wstring pick(const char* letters) {
        std::wstring text;
        const size_t length = 1 + random_() % 2;
        for (size_t i = 0; i < length; ++i)
            text += static_cast<wchar_t>(letters[random_() % strlen(letters)]);
        return text;
    }
    std::wstring pick_path() {
        std::wstring path = pick("ab");
        for (size_t i = random_() % 3; i > 0; --i)
            path += L"\\" + pick("ab");
        return path;
    }
    static std::wstring spelled(std::wstring text) {
        text[0] = static_cast<wchar_t>(towupper(static_cast<wint_t>(text[0])));
        return text;
    }
    static bool below(const std::wstring& path, const std::wstring& parent) {
        return path == parent || path.compare(0, parent.size() + 1, parent + L"\\") == 0;
    }

    void one_call();
    void expect_same(HKEY key, const std::wstring& path);

    std::mt19937 random_;
    Model model_ = {{L"", {}}};
};

void Random::one_call() {
    const std::wstring path = pick_path();
    const std::wstring full = L"model\\" + spelled(path);
    const auto known = model_.find(path);
    const std::wstring name = pick("xyz");
    const std::wstring text = pick("<&>\"'[] ");
    HKEY key = nullptr;
    switch (random_() % 6) {
    case 0:
    case 1: {
        DWORD disposition = 0;
        EXPECT_EQ(RegCreateKeyEx(HKEY_USERS, full.c_str(), 0, nullptr, 0, 0, nullptr, &key, &disposition), 0);
        EXPECT_EQ(disposition, known != model_.end() ? DWORD{2} : DWORD{1});
        for (size_t end = path.find(L'\\');; end = path.find(L'\\', end + 1)) {
            model_[path.substr(0, end)];
            if (end == std::wstring::npos)
                break;
        }
        EXPECT_EQ(set_string(key, spelled(name).c_str(), text.c_str()), 0);
        model_[path][name] = text;
        break;
    }
    case 2:
        EXPECT_EQ(RegDeleteKey(HKEY_USERS, full.c_str()), known != model_.end() ? 0 : 2);
        for (auto it = model_.begin(); it != model_.end();)
            it = below(it->first, path) ? model_.erase(it) : std::next(it);
        break;
    default:
        key = open_key(full.c_str(), HKEY_USERS);
        EXPECT_EQ(key != nullptr, known != model_.end());
        if (key != nullptr && random_() % 2 == 0) {
            EXPECT_EQ(RegDeleteValue(key, name.c_str()), known->second.erase(name) != 0 ? 0 : 2);
        }
    }
    EXPECT_EQ(RegCloseKey(key), key != nullptr ? 0 : 2);
}

void Random::expect_same(HKEY key, const std::wstring& path) {
    std::vector<std::wstring> expected;
    for (const auto& entry : model_)
        if (entry.first != path && (path.empty() || below(entry.first, path)) &&
            entry.first.find(L'\\', path.empty() ? 0 : path.size() + 1) == std::wstring::npos)
            expected.push_back(entry.first.substr(path.empty() ? 0 : path.size() + 1));
    std::vector<std::wstring> names = sub_keys(key);
    for (std::wstring& name : names)
        name[0] = static_cast<wchar_t>(towlower(static_cast<wint_t>(name[0])));
    EXPECT_EQ(names, expected) << "below " << std::string(path.begin(), path.end());
    DWORD values = 0;
    EXPECT_EQ(RegQueryInfoKey(key, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, &values, nullptr,
                              nullptr, nullptr, nullptr),
              0);
    EXPECT_EQ(values, model_[path].size());
    for (const auto& value : model_[path])
        EXPECT_EQ(get_string(key, value.first.c_str()), value.second);
    for (const std::wstring& name : expected) {
        HKEY child = open_key(name.c_str(), key);
        expect_same(child, path.empty() ? name : path + L"\\" + name);
        RegCloseKey(child);
    }
}

TEST_F(Random, CallsGiveWhatAMapGives) {
    for (unsigned seed = 1; seed <= 20 && !HasFailure(); ++seed) {
        SCOPED_TRACE(seed);
        random_.seed(seed);
        model_ = {{L"", {}}};
        RegDeleteKey(HKEY_USERS, L"model");
        HKEY top = create_key(L"model", HKEY_USERS);
        // With a key open nothing is saved or purged; without one, every call saves.
        for (int round = 0; round < 4; ++round) {
            for (int call = 0; call < 25; ++call)
                one_call();
            if (round % 2 == 0) {
                EXPECT_EQ(RegCloseKey(top), 0);
                for (int call = 0; call < 5; ++call)
                    one_call();
                top = create_key(L"model", HKEY_USERS);
            }
            expect_same(top, L"");
        }
        EXPECT_EQ(RegCloseKey(top), 0);
        EXPECT_EQ(in_child([&] {
                      expect_same(open_key(L"model", HKEY_USERS), L"");
                      return 0;
                  }),
                  0);
    }
}

} // namespace

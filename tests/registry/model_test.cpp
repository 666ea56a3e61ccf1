// Random calls, compared with a plain map of paths to values, across saves and reloads.
#include "sandbox.h"

#include <algorithm>
#include <cwctype>
#include <map>
#include <random>

namespace {

using Values = std::map<std::wstring, std::wstring>; // by name
constexpr const wchar_t* kPaths[] = {L"a", L"a\\a", L"a\\b", L"b", L"b\\a", L"b\\b"};

class Random : public Sandbox {
  protected:
    void one_call();
    void expect_same();

    std::mt19937 random_;
    std::map<std::wstring, Values> model_; // by path
};

// Any spelling will do for the calls; the map has lower case.
std::wstring with_case(std::wstring text, wint_t (*change)(wint_t)) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [&](wchar_t c) { return static_cast<wchar_t>(change(static_cast<wint_t>(c))); });
    return text;
}

void Random::one_call() {
    const std::wstring path = kPaths[random_() % 6];
    const std::wstring full = L"model\\" + with_case(path, random_() % 2 == 0 ? towupper : towlower);
    const auto known = model_.find(path);
    const auto name = [&] { return L"v" + std::to_wstring(random_() % 20); };
    HKEY key = nullptr;
    const auto kind = random_() % 12;
    if (kind < 6) {
        DWORD disposition = 0;
        EXPECT_EQ(RegCreateKeyEx(HKEY_USERS, full.c_str(), 0, nullptr, 0, 0, nullptr, &key, &disposition), 0);
        EXPECT_EQ(disposition, known != model_.end() ? DWORD{2} : DWORD{1});
        model_[path.substr(0, 1)];
        for (int i = 0; i < 4; ++i) {
            const std::wstring chosen = name();
            const std::wstring text = {L"<&>\"'[] "[random_() % 8], L"a&"[random_() % 2]};
            EXPECT_EQ(set_string(key, with_case(chosen, towupper).c_str(), text.c_str()), 0);
            model_[path][chosen] = text;
        }
    } else if (kind == 6) {
        EXPECT_EQ(RegDeleteKey(HKEY_USERS, full.c_str()), known != model_.end() ? 0 : 2);
        for (const wchar_t* gone : kPaths)
            if (path == gone || path == std::wstring(gone, 1))
                model_.erase(gone);
    } else {
        key = open_key(full.c_str(), HKEY_USERS);
        EXPECT_EQ(key != nullptr, known != model_.end());
        const std::wstring chosen = name();
        EXPECT_EQ(RegDeleteValue(key, chosen.c_str()),
                  key != nullptr && known->second.erase(chosen) != 0 ? 0 : 2);
    }
    EXPECT_EQ(RegCloseKey(key), key != nullptr ? 0 : 2);
}

void Random::expect_same() {
    for (const wchar_t* path : kPaths) {
        HKEY key = open_key((std::wstring(L"model\\") + path).c_str(), HKEY_USERS);
        ASSERT_EQ(key != nullptr, model_.count(path) == 1);
        if (key == nullptr)
            continue;
        std::wstring below;
        for (const std::wstring& name : sub_keys(key))
            below += with_case(name, towlower);
        std::wstring expected;
        for (const wchar_t* child : {L"a", L"b"})
            expected += model_.count(std::wstring(path) + L"\\" + child) == 1 ? child : L"";
        EXPECT_EQ(below, expected);
        DWORD count = 0;
        EXPECT_EQ(RegQueryInfoKey(key, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, &count, nullptr,
                                  nullptr, nullptr, nullptr),
                  0);
        EXPECT_EQ(count, model_[path].size());
        for (const auto& value : model_[path])
            EXPECT_EQ(get_string(key, value.first.c_str()), value.second);
        RegCloseKey(key);
    }
}

TEST_F(Random, CallsGiveWhatAMapGives) {
    for (unsigned seed = 1; seed <= 20 && !HasFailure(); ++seed) {
        SCOPED_TRACE(seed);
        random_.seed(seed);
        model_.clear();
        RegDeleteKey(HKEY_USERS, L"model");
        // With a key open nothing is saved or purged; without one, every call saves. A round has more than
        // the hundred writes after which the store compacts its strings.
        for (int round = 0; round < 3; ++round) {
            HKEY top = create_key(L"model", HKEY_USERS);
            for (int call = 0; call < 60; ++call)
                one_call();
            expect_same();
            EXPECT_EQ(RegCloseKey(top), 0);
            for (int call = 0; call < 5; ++call)
                one_call();
        }
        const auto same = [&] {
            expect_same();
            return 0;
        };
        EXPECT_EQ(same() + in_child(same), 0);
    }
}

} // namespace

// The tool's commands, called in place of its main.
#include "tests/registry/sandbox.h"
#include "tools/kaltoreg.h"
#include "tools/reg_text.h"

#include <cstdlib>
#include <fcntl.h>
#include <unistd.h>

namespace {

struct Result {
    int status;
    std::string out;
    std::string err;
};

class Kaltoreg : public Sandbox {
  protected:
    Result run(kaltoreg::Arguments arguments) const {
        arguments.insert(arguments.begin(), {"--sandbox", directory});
        char* out = nullptr;
        char* err = nullptr;
        size_t sizes[2];
        const kaltoreg::Streams streams{open_memstream(&out, &sizes[0]), open_memstream(&err, &sizes[1])};
        const int status = kaltoreg::run(arguments, streams);
        fclose(streams.out);
        fclose(streams.err);
        Result result{status, out, err};
        free(out);
        free(err);
        return result;
    }
    int status(const kaltoreg::Arguments& arguments) const { return run(arguments).status; }
    std::string out(const kaltoreg::Arguments& arguments) const { return run(arguments).out; }
};

TEST_F(Kaltoreg, WhatIsSetIsShownAndDeleted) {
    EXPECT_EQ(status({"set", "HKLM\\a\\b", "s", "REG_SZ", "t\u00e4xt"}), 0);
    EXPECT_EQ(status({"set", "hklm\\a", "n", "reg_dword", "300"}), 0);
    EXPECT_EQ(status({"set", "hklm\\a", "", "REG_BINARY", "DEad, 01"}), 0);
    EXPECT_EQ(out({"query", "HKLM\\A"}), "HKEY_LOCAL_MACHINE\\A\n  (default)  REG_BINARY  de ad 01\n"
                                         "  n  REG_DWORD  0x12c\nHKEY_LOCAL_MACHINE\\A\\b\n");
    EXPECT_EQ(out({"query", "HKLM\\a\\b\\", "S"}), "t\u00e4xt\n");
    EXPECT_EQ(status({"delete", "HKLM\\a", "n"}), 0);
    EXPECT_EQ(status({"delete", "HKLM\\a", "n"}), 1);
    EXPECT_EQ(status({"delete", "HKLM\\a"}), 0);
    EXPECT_EQ(status({"query", "HKLM\\a"}), 1);
    EXPECT_EQ(read().find("\"a\""), std::string::npos);
}

TEST_F(Kaltoreg, WrongUsageIsTwoAndChangesNothing) {
    const kaltoreg::Arguments cases[] = {
        {},
        {"nonsense"},
        {"--nonsense"},
        {"query"},
        {"query", "HKXX\\a"},
        {"set", "HKLM\\a", "n", "REG_DWORD", "0x100000000"},
        {"set", "HKLM\\a", "n", "REG_DWORD", "-18446744073709551615"}, // wraps to 1
        {"set", "HKLM\\a", "n", "REG_DWORD", ""},
        {"set", "HKLM\\a", "n", "REG_BINARY", "1"},
        {"set", "HKLM\\a", "n", "REG_EXPAND_SZ", "x"},
        {"delete", "HKLM\\\\\\"},
        {"export", "--utf8", "HKLM"},
        {"import", "/no/such/file"},
        {"unlock", "--now"},
        {"find", "//k["},
    };
    write_registry("<k Name='HKEY_LOCAL_MACHINE'/>");
    const std::string before = read();
    for (const kaltoreg::Arguments& arguments : cases) {
        const Result result = run(arguments);
        EXPECT_TRUE(result.status == 2 && !result.err.empty()) << testing::PrintToString(arguments);
    }
    EXPECT_EQ(read(), before);
}

TEST_F(Kaltoreg, ExportIsReadBackEqualInBothEncodings) {
    HKEY key = create_key(L"x\\with ] bracket\\\u00e9");
    EXPECT_EQ(set_string(key, L"a \"quoted\\ name\"", L"\\ \" \u20ac \U0001F600 [x]"), 0);
    EXPECT_EQ(set_string(key, L"lines", L"one\r\ntwo\ttabs"), 0);
    EXPECT_EQ(set_string(key, nullptr, L""), 0);
    EXPECT_EQ(set_number(key, L"n", 0xFFFFFFFF), 0);
    const std::vector<BYTE> bytes(100, 0xA5);
    EXPECT_EQ(RegSetValueEx(key, L"long", 0, REG_BINARY, bytes.data(), 100), 0);
    EXPECT_EQ(RegSetValueEx(key, L"none", 0, REG_BINARY, nullptr, 0), 0);
    RegCloseKey(key);
    const std::string exported = out({"export", "HKLM\\x"});
    EXPECT_NE(exported.find("\"lines\"=hex(1):6f,00,"), std::string::npos) << exported;
    const kaltoreg::Streams file{fopen(path("utf16.reg").c_str(), "wb"), stderr};
    EXPECT_EQ(kaltoreg::run({"--sandbox", directory, "export", "--utf16", "HKLM\\x"}, file), 0);
    fclose(file.out);
    write("\xEF\xBB\xBF" + exported, "utf8.reg");
    for (const char* name : {"utf8.reg", "utf16.reg"}) {
        EXPECT_EQ(status({"delete", "HKLM\\x"}), 0);
        EXPECT_EQ(run({"import", path(name)}).err, "");
        EXPECT_EQ(out({"export", "HKLM\\x"}), exported) << name;
    }
}

TEST_F(Kaltoreg, ImportUnderstandsTheUsualForms) {
    EXPECT_EQ(status({"set", "HKCU\\gone\\below", "v", "REG_SZ", "x"}), 0);
    EXPECT_EQ(status({"set", "HKCU\\k", "old", "REG_SZ", "x"}), 0);
    write(
        "\r\nREGEDIT4\r\n; remark\r\n\r\n[-HKEY_CURRENT_USER\\gone]\r\n[-HKEY_CURRENT_USER\\never]\r\n"
        "[HKEY_CURRENT_USER\\k] \r\n\"old\"=-\r\n\"never\"=-\r\n@ = \"two\nlines\" ; remark\r\n"
        "\"d\"=DWORD:2A\r\n\"h\"=hex:0, 1,\\\r\n  ff\r\n\"s\"=hex(1):61,00,00,00\r\n\"n\"=hex(4):01,02,00,00",
        "in.reg");
    EXPECT_EQ(run({"import", path("in.reg")}).err, "");
    EXPECT_EQ(out({"tree", "HKCU"}), "HKEY_CURRENT_USER\n  k\n    = (default)  REG_SZ  two\nlines\n"
                                     "    = d  REG_DWORD  0x2a\n    = h  REG_BINARY  00 01 ff\n"
                                     "    = n  REG_DWORD  0x201\n    = s  REG_SZ  a\n");
    write("REGEDIT4\n[HKCU\\k]\n\"never\"=-\n[-HKCU\\never]\n", "in.reg");
    EXPECT_EQ(status({"import", path("in.reg")}), 0) << "nothing to save is not a save that failed";
}

TEST_F(Kaltoreg, TextThatIsNotUnderstoodIsNamedByItsLineAndNotApplied) {
    const std::pair<const char*, int> cases[] = {
        {"[HKLM\\k]\n", 1},
        {"REGEDIT4\n\"v\"=\"x\"\n", 2},
        {"REGEDIT4\n[HKLM\\k]\n\"v\"=\"x\n\n", 5},
        {"REGEDIT4\n[HKLM\\k]\n\"v\" \"x\"\n", 3},
        {"REGEDIT4\n[HKLM\\k\n", 2},
        {"REGEDIT4\n[HKXX\\k]\n", 2},
        {"REGEDIT4\n[-HKLM]\n", 2},
        {"REGEDIT4\n[HKLM\\k]\n\"v\"=dword:123456789\n", 3},
        {"REGEDIT4\n[HKLM\\k]\n\"v\"=hex(2):61,00\n", 3},
        {"REGEDIT4\n[HKLM\\k]\n\"v\"=hex(1):61\n", 3},
        {"REGEDIT4\n[HKLM\\k]\n\"v\"=hex:61 62\n", 3},
        {"REGEDIT4\n[-HKLM\\k]\n\"v\"=\"x\"\n", 3},
    };
    for (const auto& [text, line] : cases) {
        write(text, "in.reg");
        const std::string complaint = run({"import", path("in.reg")}).err;
        EXPECT_NE(complaint.find("in.reg:" + std::to_string(line) + ": "), std::string::npos) << complaint;
    }
    const std::string half_a_pair("\xFF\xFE\x00\xD8", 4);
    const std::string with_zero = std::string("REGEDIT4\n[HKLM\\k]\n") + '\0' + "\"v\"=\"x\"\n";
    for (const std::string& bytes : {half_a_pair, with_zero}) {
        write(bytes, "in.reg");
        EXPECT_EQ(status({"import", path("in.reg")}), 2);
    }
    EXPECT_EQ(status({"query", "HKLM\\k"}), 1);
}

TEST_F(Kaltoreg, AHandEditedFileIsShownAsFarAsPathsLead) {
    write_registry("<k Name='HKEY_LOCAL_MACHINE'>\n<k Name='z'><k/></k>\n<k Name='b'/>\n"
                   "<v Name='c' value='1' type='REG_SZ'/>\n</k>");
    const Result tree = run({"tree", "HKLM"});
    EXPECT_EQ(tree.status, 1);
    EXPECT_EQ(tree.out, "HKEY_LOCAL_MACHINE\n  = c  REG_SZ  1\n  z\n");
    EXPECT_NE(tree.err.find("MACHINE\\b: is in the file, but no path"), std::string::npos) << tree.err;
    EXPECT_NE(tree.err.find("MACHINE\\z\\: is in the file, but no path"), std::string::npos) << tree.err;
    const Result exported = run({"export", "HKLM"});
    EXPECT_EQ(exported.status, 1);
    EXPECT_EQ(exported.out, "Windows Registry Editor Version 5.00\n\n[HKEY_LOCAL_MACHINE]\n\"c\"=\"1\"\n\n"
                            "[HKEY_LOCAL_MACHINE\\z]\n");
}

TEST_F(Kaltoreg, VerifyNamesEveryFaultAndItsPlace) {
    EXPECT_EQ(run({"verify"}).status, 2) << "there is no file, and verify makes none";
    write_registry(
        "<k Name='HKEY_LOCAL_MACHINE'>\n<k Name='b'/>\n<k Name='A'/>\n<k Name='B'/>\n<x Name='c'/>\n"
        "<v Name='d' value='5g' type='REG_DWORD'/>\n<v Name='e' value='de a' type='REG_BINARY'/>\n"
        "<v Name='f' type='REG_QWORD'/>\n<v Name='g' value='  1f' type='reg_dword'/>\n</k>");
    const Result faults = run({"verify"});
    EXPECT_EQ(faults.status, 1);
    for (const char* place :
         {"MACHINE\\A: <k> stands behind", "MACHINE\\B: <k> is there twice", "MACHINE\\c: <x> is neither",
          "MACHINE\\d: <v> is no hexadecimal number", "MACHINE\\e: <v> ends in the middle",
          "MACHINE\\f: <v> is of an unknown type", "4 keys, 4 values, 6 problems"})
        EXPECT_NE(faults.out.find(place), std::string::npos) << place << "\n" << faults.out;
    write("<Registry>\n<k>\n</v></Registry>");
    EXPECT_EQ(out({"verify"}), path() + ":3: Mismatched end tag\n");
    unlink(path().c_str());
    EXPECT_EQ(status({"query", "HKLM"}), 0);
    EXPECT_EQ(status({"verify"}), 0);
    EXPECT_EQ(
        out({"find", "//v[@value='255']"}),
        "HKEY_LOCAL_MACHINE\\Software\\Velmoran\\Lumetra\\LMQ\\States\\Ready to Work\\Light  REG_SZ  255\n");
}

TEST_F(Kaltoreg, UnlockShowsAndFreesALockThatADeadProcessLeft) {
    EXPECT_EQ(out({"unlock"}).substr(0, 5), "free:");
    ASSERT_EQ(LockRegistry(), 1);
    EXPECT_EQ(status({"unlock"}), 1);
    EXPECT_EQ(out({"unlock", "--force"}), "was held for seconds; freed\n");
    EXPECT_EQ(out({"unlock"}), "free\n");
    UnlockRegistry();
    EXPECT_EQ(status({"unlock"}), 1) << "two processes would be let in";
    EXPECT_EQ(status({"unlock", "--force"}), 0);
    EXPECT_EQ(out({"unlock"}), "free\n");
}

TEST_F(Kaltoreg, WhatCannotBeOpenedWrittenOrSavedIsReported) {
    ASSERT_EQ(mkdir(path().c_str(), 0755), 0);
    EXPECT_EQ(run({"query", "HKLM"}).err, "kaltoreg: " + path() + ": Is a directory\n");
    EXPECT_EQ(status({"verify"}), 2);
    ASSERT_EQ(rmdir(path().c_str()), 0);
    const kaltoreg::Streams full{fopen("/dev/full", "w"), stderr};
    EXPECT_EQ(kaltoreg::run({"--sandbox", directory, "tree", "HKLM"}, full), 2);
    fclose(full.out);
    ASSERT_EQ(mkdir(path(kPending).c_str(), 0755), 0);
    EXPECT_EQ(status({"set", "HKLM\\a", "n", "REG_DWORD", "1"}), 2);
}

} // namespace

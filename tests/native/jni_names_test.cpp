#include "java/jni_names.h"

#include "support/check.h"

TEST_CASE("types become codes: by the basic types as far as the name goes, else a class") {
    const char* const rows[][2] = {
        {"i", "I"},
        {"b", "Z"},
        {"by", "B"},
        {"Int", "LInt;"},
        {"ints", "Lints;"},
        {" int [ ]", "Lint [ ];"},
        {"int[]", "[I"},
        {" byte[] [] ", "[[B"},
        {"java.lang.String", "Ljava/lang/String;"},
        {"java/util/Map[]", "[Ljava/util/Map;"},
        {"a.B$C", "La/B$C;"},
        {"", ""},
        {"[]", ""},
        {" \t", ""},
    };
    for (const auto& row : rows) {
        CAPTURE(row[0]);
        CHECK(kiv::JniTypeCode(row[0]) == row[1]);
    }
}

TEST_CASE("signatures join the codes of all parameters that have a name") {
    CHECK(kiv::JniSignature("", "") == "()V");
    CHECK(kiv::JniSignature("", "int,long,boolean,bool,byte,char,short,float,double") == "(IJZZBCSFD)V");
    CHECK(kiv::JniSignature("int", "java.lang.String, byte[]") == "(Ljava/lang/String;[B)I");
    CHECK(kiv::JniSignature("java.util.Map[]", ",,long, ,char,") == "(JC)[Ljava/util/Map;");
}

TEST_CASE("class names take slashes, arrays their code") {
    CHECK(kiv::JniClassName(" java.lang.String ") == "java/lang/String");
    CHECK(kiv::JniClassName("java.lang.String[]") == "[Ljava/lang/String;");
    CHECK(kiv::JniClassName("int[][]") == "[[I");
    CHECK(kiv::JniClassName("int") == "int");
    CHECK(kiv::JniClassName("") == "");
}

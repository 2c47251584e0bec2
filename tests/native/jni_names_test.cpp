#include "java/jni_names.h"

#include "support/check.h"

TEST_CASE("types become codes: by the basic types as far as the name goes, else a class") {
    const struct {
        const char* type;
        const char* code;
    } rows[] = {
        {"int", "I"},
        {"long", "J"},
        {"boolean", "Z"},
        {"bool", "Z"},
        {"byte", "B"},
        {"char", "C"},
        {"short", "S"},
        {"float", "F"},
        {"double", "D"},
        {"i", "I"},
        {"b", "Z"},
        {"by", "B"},
        {"Int", "LInt;"},
        {"ints", "Lints;"},
        {" int [ ]", "Lint [ ];"},  // blanks inside a name stay
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
        CAPTURE(row.type);
        CHECK(kiv::JniTypeCode(row.type) == row.code);
    }
}

TEST_CASE("signatures join the codes of all parameters that have a name") {
    CHECK(kiv::JniSignature("", "") == "()V");
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

#ifndef KIV_JAVA_JNI_NAMES_H
#define KIV_JAVA_JNI_NAMES_H

#include <string>
#include <string_view>

namespace kiv {

// Names of Java types as callers write them, turned into those of the JNI. Blanks around a name do not count.

// The code of a type; "" for an empty name. A name is matched, as far as it goes, against the basic types in their
// order; what matches none is a class.
//
//     int        I        long    J      boolean, bool    Z      byte     B      char    C
//     short      S        float   F      double           D      i        I      b       Z
//     int[]      [I       byte[][]  [[B  java.lang.String    Ljava/lang/String;
//     a.B$C      La/B$C;  java.util.Map[]     [Ljava/util/Map;
std::string JniTypeCode(std::string_view type);

// The signature of a method: parameter types separated by ",", of which empty ones are skipped; an empty result is
// void.
//
//     ("int", "java.lang.String,byte[]")   (Ljava/lang/String;[B)I
//     ("", "")                             ()V
std::string JniSignature(std::string_view result, std::string_view parameters);

// The name that a class is looked up by: a class with "/" for ".", an array by its code.
//
//     java.lang.String   java/lang/String       java.lang.String[]   [Ljava/lang/String;
//     int[]              [I                     int                  int
std::string JniClassName(std::string_view name);

}  // namespace kiv

#endif

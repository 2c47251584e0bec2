#ifndef KIV_JAVA_RUNTIME_OBJECT_MODEL_H
#define KIV_JAVA_RUNTIME_OBJECT_MODEL_H

#include <memory>
#include <string>
#include <vector>

#include "java/jni_tables.h"

// The Java world of the stand-in runtime: classes as data, and the few kinds of object that they need.

struct Class;
struct Object;
using ObjectPointer = std::shared_ptr<Object>;

// A value of any Java type: an object in `object`, everything else in `basic`.
struct Value {
    jvalue basic{};
    ObjectPointer object;
};

using Values = std::vector<Value>;

struct Method {
    const char* name;       // "<init>" for a constructor
    const char* signature;  // "(I)Ljava/lang/String;"
    Value (*body)(const ObjectPointer& self, const Values& arguments);
};

struct Class {
    const char* name;  // "java/lang/String"
    const char* base;  // null for the root
    std::vector<Method> methods;
};

struct Object {
    const Class* cls = nullptr;
    std::u16string text;                  // of a string or a buffer, or the name of a class or method
    jvalue value{};                       // of a number in a box
    std::vector<ObjectPointer> elements;  // of an array or a list
    const Class* represents = nullptr;    // of a class
};

// What a body throws: a Java exception of that class.
struct JavaException {
    const char* cls;
};

const Class* FindClass(const std::string& name);  // null when there is none
const Class* BaseOf(const Class& cls);            // null for the root

// A method of the class or of those that it extends; a constructor of the class alone. Null when there is none.
const Method* FindMethod(const Class& cls, const std::string& name, const std::string& signature);

ObjectPointer MakeObject(const char* cls);
ObjectPointer MakeString(std::u16string text);
ObjectPointer MirrorOf(const Class& cls);  // the one object of java.lang.Class for it

#endif

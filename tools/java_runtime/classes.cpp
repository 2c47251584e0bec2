// The classes of the stand-in runtime. A new one is a few lines of the table at the end.

#include <map>

#include "java_runtime/object_model.h"

namespace {

std::u16string Widened(const std::string& text) {
    return std::u16string(text.begin(), text.end());
}

Value Of(jint number) {
    Value value;
    value.basic.i = number;
    return value;
}

Value Of(ObjectPointer object) {
    Value value;
    value.object = std::move(object);
    return value;
}

Value Nothing(const ObjectPointer&, const Values&) {
    return {};
}

Value FirstArgument(const ObjectPointer&, const Values& arguments) {
    return arguments.front();
}

Value Fail(const ObjectPointer&, const Values&) {
    throw JavaException{"java/lang/IllegalStateException"};
}

Value ItsText(const ObjectPointer& self, const Values&) {
    return Of(MakeString(self->text));
}

Value ItsNumber(const ObjectPointer& self, const Values&) {
    return Of(static_cast<jint>(self->number));
}

Value ItsClass(const ObjectPointer& self, const Values&) {
    return Of(MirrorOf(*self->cls));
}

Value ItsNumberAsText(const ObjectPointer& self, const Values&) {
    return Of(MakeString(Widened(std::to_string(self->number))));
}

Value SetNumber(const ObjectPointer& self, const Values& arguments) {
    self->number = arguments[0].basic.i;
    return {};
}

Value SetText(const ObjectPointer& self, const Values& arguments) {
    if (arguments[0].object == nullptr)
        throw JavaException{"java/lang/NullPointerException"};
    self->text = arguments[0].object->text;
    return {};
}

Value AddNumber(const ObjectPointer& self, const Values& arguments) {
    return Of(static_cast<jint>(self->number += arguments[0].basic.i));
}

Value Concatenated(const ObjectPointer& self, const Values& arguments) {
    if (arguments[0].object == nullptr)
        throw JavaException{"java/lang/NullPointerException"};
    return Of(MakeString(self->text + arguments[0].object->text));
}

Value ItsMethods(const ObjectPointer& self, const Values&) {
    ObjectPointer methods = MakeObject("[Ljava/lang/Object;");
    for (const Class* cls = self->represents; cls != nullptr; cls = BaseOf(*cls)) {
        for (const Method& method : cls->methods) {
            if (method.name[0] == '<')
                continue;
            methods->elements.push_back(MakeObject("java/lang/reflect/Method"));
            methods->elements.back()->text = Widened(method.name);
        }
    }
    return Of(methods);
}

// So many counters, numbered from 0; every third place is empty.
Value Counters(const ObjectPointer&, const Values& arguments) {
    ObjectPointer counters = MakeObject("[Ljava/lang/Object;");
    for (jint i = 0; i < arguments[0].basic.i; ++i) {
        counters->elements.push_back(i % 3 == 2 ? nullptr : MakeObject("demo/Counter"));
        if (counters->elements.back() != nullptr)
            counters->elements.back()->number = i;
    }
    return Of(counters);
}

const std::vector<Class>& Classes() {
    static const std::vector<Class> classes = {
        {"java/lang/Object",
         nullptr,
         {{"<init>", "()V", Nothing},
          {"getClass", "()Ljava/lang/Class;", ItsClass},
          {"toString", "()Ljava/lang/String;", ItsText}}},
        {"java/lang/Class",
         "java/lang/Object",
         {{"getName", "()Ljava/lang/String;", ItsText}, {"getMethods", "()[Ljava/lang/reflect/Method;", ItsMethods}}},
        {"java/lang/reflect/Method", "java/lang/Object", {{"getName", "()Ljava/lang/String;", ItsText}}},
        {"java/lang/String",
         "java/lang/Object",
         {{"<init>", "()V", Nothing},
          {"<init>", "(Ljava/lang/String;)V", SetText},
          {"concat", "(Ljava/lang/String;)Ljava/lang/String;", Concatenated},
          {"length", "()I",
           [](const ObjectPointer& self, const Values&) { return Of(static_cast<jint>(self->text.size())); }}}},
        {"[Ljava/lang/Object;", "java/lang/Object", {}},
        {"java/lang/Throwable", "java/lang/Object", {{"getMessage", "()Ljava/lang/String;", ItsText}}},
        {"java/lang/ArrayIndexOutOfBoundsException", "java/lang/Throwable", {}},
        {"java/lang/IllegalStateException", "java/lang/Throwable", {}},
        {"java/lang/NoClassDefFoundError", "java/lang/Throwable", {}},
        {"java/lang/NoSuchMethodError", "java/lang/Throwable", {}},
        {"java/lang/NullPointerException", "java/lang/Throwable", {}},
        {"demo/Counter",
         "java/lang/Object",
         {{"<init>", "()V", Nothing},
          {"<init>", "(I)V", SetNumber},
          {"<init>", "(Ljava/lang/String;)V", Fail},
          {"get", "()I", ItsNumber},
          {"add", "(I)I", AddNumber},
          {"reset", "()V",
           [](const ObjectPointer& self, const Values&) { return Of(static_cast<jint>(self->number = 0)); }},
          {"toString", "()Ljava/lang/String;", ItsNumberAsText},
          {"fail", "()V", Fail}}},
        {"demo/Shelf",
         "java/lang/Object",
         {{"<init>", "()V", Nothing},
          {"counters", "(I)[Ldemo/Counter;", Counters},
          {"none", "()[Ldemo/Counter;", Nothing}}},
        {"demo/Echo",
         "java/lang/Object",
         {{"<init>", "()V", Nothing},
          {"echo", "(Z)Z", FirstArgument},
          {"echo", "(B)B", FirstArgument},
          {"echo", "(C)C", FirstArgument},
          {"echo", "(S)S", FirstArgument},
          {"echo", "(I)I", FirstArgument},
          {"echo", "(J)J", FirstArgument},
          {"echo", "(F)F", FirstArgument},
          {"echo", "(D)D", FirstArgument},
          {"echo", "(Ljava/lang/String;)Ljava/lang/String;", FirstArgument},
          {"echo", "(Ljava/lang/Object;)Ljava/lang/Object;", FirstArgument}}},
        {"demo/Echo$Nested", "demo/Echo", {{"<init>", "()V", Nothing}}},
    };
    return classes;
}

}  // namespace

const Class* FindClass(const std::string& name) {
    for (const Class& cls : Classes()) {
        if (name == cls.name)
            return &cls;
    }
    return nullptr;
}

const Class* BaseOf(const Class& cls) {
    return cls.base == nullptr ? nullptr : FindClass(cls.base);
}

const Method* FindMethod(const Class& cls, const std::string& name, const std::string& signature) {
    for (const Class* owner = &cls; owner != nullptr; owner = BaseOf(*owner)) {
        for (const Method& method : owner->methods) {
            if (name == method.name && signature == method.signature)
                return &method;
        }
        if (name == "<init>")
            break;
    }
    return nullptr;
}

ObjectPointer MakeObject(const char* cls) {
    auto object = std::make_shared<Object>();
    object->cls = FindClass(cls);
    return object;
}

ObjectPointer MakeString(std::u16string text) {
    ObjectPointer string = MakeObject("java/lang/String");
    string->text = std::move(text);
    return string;
}

ObjectPointer MirrorOf(const Class& cls) {
    static std::map<const Class*, ObjectPointer> mirrors;
    ObjectPointer& mirror = mirrors[&cls];
    if (mirror == nullptr) {
        mirror = MakeObject("java/lang/Class");
        mirror->represents = &cls;
        for (const char* at = cls.name; *at != '\0'; ++at)
            mirror->text += static_cast<char16_t>(*at == '/' ? '.' : *at);
    }
    return mirror;
}

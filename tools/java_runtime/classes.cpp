// The classes of the stand-in runtime. A new one is a few lines of the table at the end.

#include <cstdio>
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

Value ItsText(const ObjectPointer& self, const Values&) {
    return Of(MakeString(self->text));
}

Value ItsLength(const ObjectPointer& self, const Values&) {
    return Of(static_cast<jint>(self->text.size()));
}

Value ItsClass(const ObjectPointer& self, const Values&) {
    return Of(MirrorOf(*self->cls));
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

Value KeepValue(const ObjectPointer& self, const Values& arguments) {
    self->value = arguments[0].basic;
    return {};
}

Value ItsValue(const ObjectPointer& self, const Values&) {
    Value value;
    value.basic = self->value;
    return value;
}

const std::u16string& TextOf(const ObjectPointer& string) {
    if (string == nullptr)
        throw JavaException{"java/lang/NullPointerException"};
    return string->text;
}

Value SetText(const ObjectPointer& self, const Values& arguments) {
    self->text = TextOf(arguments[0].object);
    return {};
}

Value Concatenated(const ObjectPointer& self, const Values& arguments) {
    return Of(MakeString(self->text + TextOf(arguments[0].object)));
}

// The place that an argument names, which is to be less than the limit.
std::size_t Place(const Value& argument, std::size_t limit) {
    const auto place = static_cast<std::size_t>(argument.basic.i);
    if (argument.basic.i < 0 || place >= limit)
        throw JavaException{"java/lang/IndexOutOfBoundsException"};
    return place;
}

Value CharacterAt(const ObjectPointer& self, const Values& arguments) {
    Value value;
    value.basic.c = self->text[Place(arguments[0], self->text.size())];
    return value;
}

Value SetLength(const ObjectPointer& self, const Values& arguments) {
    self->text.resize(Place(arguments[0], self->text.max_size()));
    return {};
}

Value Append(const ObjectPointer& self, const std::u16string& text) {
    self->text += text;
    return Of(self);
}

template <auto Member>
Value AppendInteger(const ObjectPointer& self, const Values& arguments) {
    return Append(self, Widened(std::to_string(arguments[0].basic.*Member)));
}

// Only fractions look as in Java.
template <auto Member>
Value AppendFraction(const ObjectPointer& self, const Values& arguments) {
    char text[40];
    std::snprintf(text, sizeof text, "%g", static_cast<double>(arguments[0].basic.*Member));
    return Append(self, Widened(text));
}

Value AppendBoolean(const ObjectPointer& self, const Values& arguments) {
    return Append(self, arguments[0].basic.z != 0 ? u"true" : u"false");
}

Value AppendCharacter(const ObjectPointer& self, const Values& arguments) {
    return Append(self, std::u16string(1, arguments[0].basic.c));
}

Value AppendText(const ObjectPointer& self, const Values& arguments) {
    return Append(self, arguments[0].object == nullptr ? u"null" : arguments[0].object->text);
}

Value CheckCapacity(const ObjectPointer&, const Values& arguments) {
    if (arguments[0].basic.i < 0)
        throw JavaException{"java/lang/IllegalArgumentException"};
    return {};
}

Value AddElement(const ObjectPointer& self, const Values& arguments) {
    self->elements.push_back(arguments[0].object);
    Value added;
    added.basic.z = 1;
    return added;
}

Value ElementAt(const ObjectPointer& self, const Values& arguments) {
    return Of(self->elements[Place(arguments[0], self->elements.size())]);
}

Value CountElements(const ObjectPointer& self, const Values&) {
    return Of(static_cast<jint>(self->elements.size()));
}

Value CopyElements(const ObjectPointer& self, const Values&) {
    ObjectPointer array = MakeObject("[Ljava/lang/Object;");
    array->elements = self->elements;
    return Of(array);
}

Value ClearElements(const ObjectPointer& self, const Values&) {
    self->elements.clear();
    return {};
}

constexpr const char* kRoot = "java/lang/Object";
constexpr const char* kThrowable = "java/lang/Throwable";

const std::vector<Class>& Classes() {
    static const std::vector<Class> classes = {
        {kRoot,
         nullptr,
         {{"<init>", "()V", Nothing},
          {"getClass", "()Ljava/lang/Class;", ItsClass},
          {"toString", "()Ljava/lang/String;", ItsText}}},
        {"java/lang/Class",
         kRoot,
         {{"getName", "()Ljava/lang/String;", ItsText}, {"getMethods", "()[Ljava/lang/reflect/Method;", ItsMethods}}},
        {"java/lang/reflect/Method", kRoot, {{"getName", "()Ljava/lang/String;", ItsText}}},
        {"[Ljava/lang/Object;", kRoot, {}},
        {kThrowable, kRoot, {}},
        {"java/lang/ArrayIndexOutOfBoundsException", kThrowable, {}},
        {"java/lang/IllegalArgumentException", kThrowable, {}},
        {"java/lang/IndexOutOfBoundsException", kThrowable, {}},
        {"java/lang/NoClassDefFoundError", kThrowable, {}},
        {"java/lang/NoSuchMethodError", kThrowable, {}},
        {"java/lang/NullPointerException", kThrowable, {}},
        {"java/lang/Boolean", kRoot, {{"<init>", "(Z)V", KeepValue}, {"booleanValue", "()Z", ItsValue}}},
        {"java/lang/Byte", kRoot, {{"<init>", "(B)V", KeepValue}, {"byteValue", "()B", ItsValue}}},
        {"java/lang/Character", kRoot, {{"<init>", "(C)V", KeepValue}, {"charValue", "()C", ItsValue}}},
        {"java/lang/Short", kRoot, {{"<init>", "(S)V", KeepValue}, {"shortValue", "()S", ItsValue}}},
        {"java/lang/Integer", kRoot, {{"<init>", "(I)V", KeepValue}, {"intValue", "()I", ItsValue}}},
        {"java/lang/Long", kRoot, {{"<init>", "(J)V", KeepValue}, {"longValue", "()J", ItsValue}}},
        {"java/lang/Float", kRoot, {{"<init>", "(F)V", KeepValue}, {"floatValue", "()F", ItsValue}}},
        {"java/lang/Double", kRoot, {{"<init>", "(D)V", KeepValue}, {"doubleValue", "()D", ItsValue}}},
        {"java/lang/String",
         kRoot,
         {{"<init>", "()V", Nothing},
          {"<init>", "(Ljava/lang/String;)V", SetText},
          {"concat", "(Ljava/lang/String;)Ljava/lang/String;", Concatenated},
          {"length", "()I", ItsLength}}},
        {"java/lang/StringBuffer",
         kRoot,
         {{"<init>", "()V", Nothing},
          {"<init>", "(Ljava/lang/String;)V", SetText},
          {"append", "(Z)Ljava/lang/StringBuffer;", AppendBoolean},
          {"append", "(C)Ljava/lang/StringBuffer;", AppendCharacter},
          {"append", "(I)Ljava/lang/StringBuffer;", AppendInteger<&jvalue::i>},
          {"append", "(J)Ljava/lang/StringBuffer;", AppendInteger<&jvalue::j>},
          {"append", "(F)Ljava/lang/StringBuffer;", AppendFraction<&jvalue::f>},
          {"append", "(D)Ljava/lang/StringBuffer;", AppendFraction<&jvalue::d>},
          {"append", "(Ljava/lang/String;)Ljava/lang/StringBuffer;", AppendText},
          {"append", "(Ljava/lang/Object;)Ljava/lang/StringBuffer;", AppendText},
          {"charAt", "(I)C", CharacterAt},
          {"length", "()I", ItsLength},
          {"setLength", "(I)V", SetLength}}},
        {"java/util/ArrayList",
         kRoot,
         {{"<init>", "()V", Nothing},
          {"<init>", "(I)V", CheckCapacity},
          {"add", "(Ljava/lang/Object;)Z", AddElement},
          {"get", "(I)Ljava/lang/Object;", ElementAt},
          {"size", "()I", CountElements},
          {"toArray", "()[Ljava/lang/Object;", CopyElements},
          {"clear", "()V", ClearElements}}},
        {"java/util/Map$Entry", kRoot, {}},
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

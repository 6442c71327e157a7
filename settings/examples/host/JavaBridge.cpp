#include <algorithm>
#include <memory>

#include <jni.h>
#include <settingscore/errors/SettingsException.hpp>
#include <settingscore/rules/JRunTimeDefault.hpp>
#include <settingscore/rules/JValidator.hpp>
#include <settingscore/value/Get.hpp>
#include "Bridges.hpp"

using namespace settings::core;

// Calls a static method "String name(String key, String value)". Values travel as texts here;
// get<T> gives other types for the parameters of your own methods.
static ustring call(JavaVM* vm, std::string type, std::string const& name, std::string const& key,
                    ustring const& value) {
    // Any thread may come here: it joins the machine, and leaves it when it ends.
    JNIEnv* env = nullptr;
    if (vm->AttachCurrentThread(reinterpret_cast<void**>(&env), nullptr) != JNI_OK)
        throw SettingsException("samplehost:Java", "this thread can't join the Java machine", key);
    thread_local std::shared_ptr<JavaVM> const leave(vm, [](auto* m) { m->DetachCurrentThread(); });
    auto const toJava = [env](ustring const& text) {
        return env->NewString(reinterpret_cast<jchar const*>(text.data()), jsize(text.size()));
    };
    env->PushLocalFrame(16);
    std::replace(type.begin(), type.end(), '.', '/');
    char const* const twoTexts = "(Ljava/lang/String;Ljava/lang/String;)Ljava/lang/String;";
    jclass const owner = env->FindClass(type.c_str());
    jmethodID method = owner ? env->GetStaticMethodID(owner, name.c_str(), twoTexts) : nullptr;
    jobject text = method ? env->CallStaticObjectMethod(
                                owner, method, toJava(qf::i18n::to_ustring(key)), toJava(value))
                          : nullptr;
    // What Java threw becomes a SettingsException: its text reaches who set the value.
    jthrowable const thrown = env->ExceptionOccurred();
    env->ExceptionClear();
    if (thrown) {
        method = env->GetMethodID(env->GetObjectClass(thrown), "toString", "()Ljava/lang/String;");
        text = env->CallObjectMethod(thrown, method);
    }
    ustring result(text ? std::size_t(env->GetStringLength(jstring(text))) : 0, u'\0');
    if (text)
        env->GetStringRegion(jstring(text), 0, jsize(result.size()),
                             reinterpret_cast<jchar*>(result.data()));
    env->PopLocalFrame(nullptr);
    if (thrown) throw SettingsException("samplehost:Java", qf::i18n::to_string(result), key);
    return result;
}

void installJava(std::string const& classPath) {
    // A process has one machine, for its whole life. A host that starts it only when it is needed
    // does so in JValidator::setJValInitializer, which then installs the proxy.
    std::string classes = "-Djava.class.path=" + classPath, signals = "-Xrs";
    JavaVMOption options[] = {{classes.data(), nullptr}, {signals.data(), nullptr}};
    JavaVMInitArgs arguments = {JNI_VERSION_1_8, 2, options, JNI_FALSE};
    JavaVM* vm = nullptr;
    void* env = nullptr;
    if (JNI_CreateJavaVM(&vm, &env, &arguments) != JNI_OK)
        throw SettingsException("samplehost:Java", "the Java machine does not start", "");
    JValidator::setJValProxy([vm](auto& package, auto& function, auto&, auto& key, auto& value) {
        call(vm, package, function, key, settingscore::boostany::get<ustring>(value, true));
    });
    JRunTimeDefault::setJRuntimeDefaultProxy([vm](auto& package, auto& function) {
        return boost::any(call(vm, package, function, "", u""));
    });
}

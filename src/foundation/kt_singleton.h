// KtSingleton<T>: one lazily created instance of T per process, deleted by the
// library's exit table when libzem is unloaded or the process ends. All
// instantiations share one recursive lock and one live counter.
#pragma once

#include <atomic>
#include <cstdlib>
#include <mutex>
#include <typeinfo>

namespace kt_detail {

// The one lock of the registry, created on first use.
std::recursive_mutex& SingletonLock();

// Notes of the registry; they compose trace texts that go nowhere.
void SingletonCreated(const char* name);
void SingletonDestroying(const char* name);
void SingletonDestroyed(const char* name);
int SingletonLiveCount();

}  // namespace kt_detail

template <class T>
class KtSingleton {
public:
    // The instance, created on the first call; safe from any thread.
    static T& Instance() {
        T* instance = s_instance.load(std::memory_order_acquire);
        if (instance != nullptr) return *instance;
        std::lock_guard<std::recursive_mutex> guard(kt_detail::SingletonLock());
        std::call_once(s_exitRegistered, [] { std::atexit(&KtSingleton::Exit); });
        instance = s_instance.load(std::memory_order_relaxed);
        if (instance == nullptr) {
            instance = new T;
            s_instance.store(instance, std::memory_order_release);
            kt_detail::SingletonCreated(typeid(T).name());
        }
        return *instance;
    }

    virtual ~KtSingleton() = default;

protected:
    KtSingleton() = default;
    KtSingleton(const KtSingleton&) = delete;
    KtSingleton& operator=(const KtSingleton&) = delete;

private:
    // Run once from the exit table.
    static void Exit() {
        T* instance = s_instance.load(std::memory_order_acquire);
        if (instance == nullptr) return;
        kt_detail::SingletonDestroying(typeid(T).name());
        delete instance;
        s_instance.store(nullptr, std::memory_order_release);
        kt_detail::SingletonDestroyed(typeid(T).name());
    }

    static inline std::atomic<T*> s_instance{nullptr};
    static inline std::once_flag s_exitRegistered;
};

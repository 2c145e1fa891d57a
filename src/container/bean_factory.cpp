// The factory: its state, loading and reset, and the one road on which bean
// objects come into being (GetBeanWrapper).
#include "container/bean_factory.h"

#include <algorithm>
#include <cstring>
#include <thread>
#include <typeinfo>
#include <vector>

#include "container/lifecycle.h"
#include "library/library.h"
#include "foundation/string_convert.h"
#include "platform/stack.h"
#include "zem/exception.h"

namespace ZEM {

namespace {

// What this thread runs on behalf of a factory, innermost first: the beans
// being made (for the cycle guard of container-made requests and the nesting
// limit) and every other call into host or bean code (service makers, release
// functions run by a reset, failure handlers, observers). The frames live on
// the stack and the thread-local state is plain pointers and counts, so a
// thread's first request registers no thread-exit destructor, a registration
// that aborts the process when memory is short.
enum class ERunning : unsigned char { Making, Code, Handler };
struct SRunning {
    const CBeanFactoryImpl* factory;
    const char* name;  // the bean, for Making
    ERunning kind;
    SRunning* outer;
};
thread_local SRunning* t_running = nullptr;
thread_local std::size_t t_makingDepth = 0;
constexpr std::size_t kMaxRequestDepth = 256;

// Beans made for the outermost request on this thread, and how many one
// request may make: references that fan out make a number of objects that
// grows with the power of the depth, and a request must end.
thread_local std::uint64_t t_madeForRequest = 0;
constexpr std::uint64_t kMaxBeansPerRequest = 1000000;
// The eager beans of one load share one budget, as if the load were one
// request: a budget each would let a document of many eager beans, each at
// the root of such a fan, multiply the work of one request without end.
thread_local bool t_eagerPass = false;

// A request makes a bean only with this much stack left: enough for its own
// frames, the wrapper's and a constructor's, so that a chain of references
// ends in an empty result instead of running off the thread's stack.
// Sanitizers make every frame several times larger.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr std::size_t kRequestStackReserve = 96 * 1024;
#else
constexpr std::size_t kRequestStackReserve = 16 * 1024;
#endif

// Where Fail leaves its reason for the observed request in progress on this
// thread; null when none is.
thread_local std::wstring* t_observedReason = nullptr;

// Fail runs in the catch handlers of noexcept requests too: nothing may leave it.
void NoteObservedReason(const std::wstring& reason) noexcept {
    try {
        *t_observedReason = reason;
    } catch (...) {
    }
}

class CRunningGuard {
public:
    CRunningGuard(const CBeanFactoryImpl* factory, ERunning kind, const char* name = nullptr)
        : frame_{factory, name, kind, t_running} {
        t_running = &frame_;
        if (kind == ERunning::Making) ++t_makingDepth;
    }
    ~CRunningGuard() {
        t_running = frame_.outer;
        if (frame_.kind == ERunning::Making) --t_makingDepth;
    }
    CRunningGuard(const CRunningGuard&) = delete;
    CRunningGuard& operator=(const CRunningGuard&) = delete;

private:
    SRunning frame_;
};

class CMakingGuard : public CRunningGuard {
public:
    CMakingGuard(const CBeanFactoryImpl* factory, const char* name) : CRunningGuard(factory, ERunning::Making, name) {}
};

// Whether this thread runs anything, or something of `kind`, for `factory`.
bool Running(const CBeanFactoryImpl* factory) {
    for (const SRunning* frame = t_running; frame != nullptr; frame = frame->outer)
        if (frame->factory == factory) return true;
    return false;
}

bool Running(const CBeanFactoryImpl* factory, ERunning kind) {
    for (const SRunning* frame = t_running; frame != nullptr; frame = frame->outer)
        if (frame->factory == factory && frame->kind == kind) return true;
    return false;
}

bool BeingMade(const CBeanFactoryImpl* factory, const char* name) {
    for (const SRunning* frame = t_running; frame != nullptr; frame = frame->outer)
        if (frame->factory == factory && frame->kind == ERunning::Making && std::strcmp(frame->name, name) == 0)
            return true;
    return false;
}

}  // namespace

CBeanFactoryImpl::CBeanFactoryImpl() { NewState(); }

CBeanFactoryImpl::~CBeanFactoryImpl() {
    // Singletons first, in the map's order; bean code that ends here must not
    // call into this factory.
    CRunningGuard running(this, ERunning::Code);
    instances_.Clear();
    wrappers_.Clear();
    types_.reset();
    configuration_.reset();
}

void CBeanFactoryImpl::NewState() {
    configuration_ = std::make_unique<CConfiguration>(this);
    types_ = std::make_unique<CTypeRegistry>();
    types_->SetObjectType(std::make_unique<ObjectType>(types_.get()));
}

bool CBeanFactoryImpl::Exists(const char* name) {
    if (name == nullptr) return false;
    std::lock_guard<std::recursive_mutex> guard(lock_);
    CRunningGuard running(this, ERunning::Code);  // binding runs a class library's initialisers
    return configuration_->GetBeanType(name) != nullptr;
}

std::shared_ptr<IObject> CBeanFactoryImpl::GetService(const char* typeId, std::uint32_t index) {
    std::lock_guard<std::recursive_mutex> guard(lock_);
    CRunningGuard running(this, ERunning::Code);  // the registration's maker
    return configuration_->GetService(typeId, index);
}

std::shared_ptr<IObject> CBeanFactoryImpl::GetService(const char* typeId) {
    std::lock_guard<std::recursive_mutex> guard(lock_);
    CRunningGuard running(this, ERunning::Code);
    return configuration_->GetService(typeId);
}

std::shared_ptr<IObject> CBeanFactoryImpl::GetBean(const char* name, const SLibrary* library) {
    return Request(name, library, false, false).second;
}

BeanPair CBeanFactoryImpl::GetBeanWrapper(const char* name, const SLibrary* library, bool fromContainer) noexcept {
    return Request(name, library, fromContainer, true);
}

std::shared_ptr<IObject> CBeanFactoryImpl::GetBeanObject(const char* name, const SLibrary* library,
                                                         bool fromContainer) noexcept {
    return Request(name, library, fromContainer, false).second;
}

std::shared_ptr<ITypeRegistration> CBeanFactoryImpl::RegisterService(
    const char* typeId, bool atFront, std::function<std::unique_ptr<IObject>()>&& maker,
    std::shared_ptr<ITypeRegistration> registration) {
    std::lock_guard<std::recursive_mutex> guard(lock_);
    return configuration_->RegisterService(typeId, atFront, std::move(maker), std::move(registration));
}

std::shared_ptr<ITypeRegistration> CBeanFactoryImpl::RegisterService(
    const char* typeId, bool atFront, std::shared_ptr<IObject> instance,
    std::shared_ptr<ITypeRegistration> registration) {
    std::lock_guard<std::recursive_mutex> guard(lock_);
    return configuration_->RegisterService(typeId, atFront, std::move(instance), std::move(registration));
}

void CBeanFactoryImpl::ReleaseInstance(const std::shared_ptr<IObject>& instance) {
    std::lock_guard<std::recursive_mutex> guard(lock_);
    CRunningGuard running(this, ERunning::Code);  // a last share ends the object: its release function
    configuration_->ReleaseInstance(instance);
}

std::uint32_t CBeanFactoryImpl::GetServiceCount(const char* typeId) {
    if (typeId == nullptr) return 0;
    std::lock_guard<std::recursive_mutex> guard(lock_);
    return configuration_->GetServiceCount(typeId);
}

void CBeanFactoryImpl::LoadConfiguration(CConfiguration& configuration) {
    std::lock_guard<std::recursive_mutex> guard(lock_);
    configuration_->MergeConfiguration(configuration);
}

void CBeanFactoryImpl::CreateEagerBeans() {
    std::lock_guard<std::recursive_mutex> guard(lock_);
    struct SPass {
        explicit SPass(CBeanFactoryImpl& owner) : factory(owner), made(t_madeForRequest), eager(t_eagerPass) {
            factory.configuration_->Store().makingEagerBeans = true;
            t_madeForRequest = 0;
            t_eagerPass = true;
        }
        // Bean code may have reset the factory meanwhile: the store now in
        // place is the one to tidy.
        ~SPass() {
            CConfigurationStore& store = factory.configuration_->Store();
            store.makingEagerBeans = false;
            store.unloadable.clear();
            t_madeForRequest = made;
            t_eagerPass = eager;
        }
        CBeanFactoryImpl& factory;
        std::uint64_t made;
        bool eager;
    } pass(*this);
    for (const auto& [name, library] : configuration_->GetEagerBeans()) GetBeanWrapper(name.c_str(), library);
}

void CBeanFactoryImpl::RefuseFromOwnCode(const char* operation) const {
    if (Running(this))
        throw CException(Message(L"Operation '", operation, L"' is not allowed from code that its factory is running"));
}

void CBeanFactoryImpl::ResetFactory() {
    // From inside, it would pull the store and the singletons from under the
    // code that called it.
    RefuseFromOwnCode("Reset");
    std::lock_guard<std::recursive_mutex> guard(lock_);
    CRunningGuard running(this, ERunning::Code);  // destructors and release functions
    instances_.Clear();
    wrappers_.Clear();
    types_.reset();
    configuration_.reset();
    NewState();
}

void CBeanFactoryImpl::SetFailureHandler(BeanFailureHandler handler) {
    std::lock_guard<std::recursive_mutex> guard(lock_);
    failureHandler_ = std::move(handler);
}

void CBeanFactoryImpl::SetRequestObserver(std::shared_ptr<IBeanRequestObserver> observer) {
    // The old observer ends outside the lock, after no request can reach it.
    std::shared_ptr<IBeanRequestObserver> old;
    std::lock_guard<std::recursive_mutex> guard(lock_);
    observed_.store(observer != nullptr, std::memory_order_relaxed);
    old = std::exchange(observer_, std::move(observer));
}

BeanPair CBeanFactoryImpl::Fail(const char* name, const std::wstring& reason) {
    if (t_observedReason != nullptr) NoteObservedReason(reason);
    // A request made by the handler itself (a fallback) doesn't come back to
    // it with its own failures: that could recurse without end.
    if (failureHandler_ && !Running(this, ERunning::Handler)) {
        try {
            // Called through a copy, so that it may replace or remove itself.
            BeanFailureHandler handler = failureHandler_;
            CRunningGuard running(this, ERunning::Handler);
            handler(name, reason, CurrentRequestChain());
        } catch (...) {
        }
    }
    return {};
}

void TellReleaseFailure(const std::wstring& what) noexcept {
    // Only a factory running on this thread can be told: a release has no
    // other way back to the factory whose service made the object.
    if (t_running == nullptr) return;
    auto* factory = const_cast<CBeanFactoryImpl*>(t_running->factory);
    try {
        std::lock_guard<std::recursive_mutex> guard(factory->lock_);
        factory->Fail("", what.empty() ? L"Release function failed" : L"Release function failed: " + what);
    } catch (...) {
    }
}

std::shared_ptr<const IBeanWrapper> CBeanFactoryImpl::GetClassWrapper(SBeanType& bean) {
    if (auto* found = wrappers_.Find(std::string_view(bean.className))) return *found;
    std::shared_ptr<const IBeanWrapper> wrapper;
    if (bean.wrapper)
        wrapper = bean.wrapper;
    else if (bean.maker != nullptr)
        wrapper.reset(bean.maker());
    wrappers_.FindOrInsert(std::string_view(bean.className)) = wrapper;
    return wrapper;
}

BeanPair CBeanFactoryImpl::Serve(const char* name, const SLibrary* library, unsigned how,
                                 SBeanRequest* note) noexcept {
    const bool fromContainer = (how & kFromContainer) != 0;
    const bool withWrapper = (how & kWithWrapper) != 0;
    std::unique_lock<std::recursive_mutex> guard(lock_, std::defer_lock);
    try {
        guard.lock();
        SBeanType* bean = configuration_->GetBeanType(name);
        if (bean == nullptr) {
            if (note != nullptr) note->reason = Message(L"No definition of bean '", name, L"'");
            return {};
        }
        if (note != nullptr) note->singleton = bean->singleton;
        if (!bean->exported) {
            // Only requests made on behalf of the bean's own library see it.
            if (library == nullptr || bean->library == nullptr || library->path != bean->library->path) {
                if (note != nullptr) note->reason = Message(L"Bean '", name, L"' is not visible outside its library");
                return {};
            }
        }
        if (bean->singleton) {
            const BeanPair* made = bean->singletonEntry;
            if (made == nullptr) made = instances_.Find(name);
            if (made != nullptr) {
                if (note != nullptr) note->outcome = EBeanRequestOutcome::Found;
                return withWrapper ? *made : BeanPair(nullptr, made->second);
            }
        }
        if (fromContainer && BeingMade(this, name)) return Fail(name, L"Already being made: a cycle");
        if (t_makingDepth >= kMaxRequestDepth) return Fail(name, L"Requests nested too deeply");
        if (platform::StackLeft() < kRequestStackReserve)
            return Fail(name, L"Requests nested too deeply for the thread's stack");
        if (t_makingDepth == 0 && !t_eagerPass) t_madeForRequest = 0;
        if (++t_madeForRequest > kMaxBeansPerRequest)
            return Fail(name, L"More than 1000000 beans made for one request");
        CMakingGuard making(this, name);
        return MakeBean(name, *bean, library);
    } catch (const CLoadFailure& failure) {
        return FailToLoad(name, failure);
    } catch (const CException& failure) {
        return Fail(name, failure.GetMessageW());
    } catch (const std::exception& failure) {
        return FailQuietly(name, failure.what());
    } catch (...) {
        return FailQuietly(name, "unknown exception");
    }
}

BeanPair CBeanFactoryImpl::ObservedRequest(const char* name, const SLibrary* library, unsigned how) noexcept {
    std::shared_ptr<IBeanRequestObserver> observer;
    SBeanRequest request;
    std::unique_lock<std::recursive_mutex> guard(lock_, std::defer_lock);
    try {
        guard.lock();
        observer = observer_;
        request.name = name;
        request.library = library != nullptr ? library->path.c_str() : nullptr;
        request.depth = t_makingDepth;
        request.thread = std::this_thread::get_id();
        CRunningGuard running(this, ERunning::Code);
        if (observer) observer->OnRequestStart(request);
    } catch (...) {
        // A failed lock fails the request below as it would unobserved; an
        // observer's exception is dropped.
    }
    if (!observer) return Serve(name, library, how, nullptr);

    std::wstring* outer = t_observedReason;
    t_observedReason = &request.reason;
    BeanPair result = Serve(name, library, how, &request);
    t_observedReason = outer;
    try {
        if (result.second) {
            if (request.outcome != EBeanRequestOutcome::Found) request.outcome = EBeanRequestOutcome::Made;
        } else {
            request.outcome = EBeanRequestOutcome::Failed;
            if (request.reason.empty()) request.reason = L"The request gave no object";
        }
        CRunningGuard running(this, ERunning::Code);
        observer->OnRequestEnd(request);
    } catch (...) {
    }
    return result;
}

BeanPair CBeanFactoryImpl::MakeBean(const char* name, SBeanType& bean, const SLibrary* library) {
    std::vector<std::shared_ptr<IObject>> dependencies;
    dependencies.reserve(bean.dependsOn.size());
    for (const std::string& entry : bean.dependsOn)
        dependencies.push_back(GetBeanObject(entry.c_str(), library, true));

    std::shared_ptr<const IBeanWrapper> classWrapper = GetClassWrapper(bean);
    std::shared_ptr<const IBeanWrapper> factoryWrapper;
    if (!bean.factoryBean.empty()) {
        SBeanType* factoryBean = configuration_->GetBeanType(bean.factoryBean.c_str());
        if (factoryBean == nullptr) return Fail(name, Message(L"Factory bean '", bean.factoryBean, L"' not found"));
        factoryWrapper = GetClassWrapper(*factoryBean);
    }
    const std::shared_ptr<const IBeanWrapper>& creator = bean.factoryBean.empty() ? classWrapper : factoryWrapper;
    // A maker that gave no wrapper leaves nothing to call.
    if (!creator || !classWrapper) return Fail(name, Message(L"No wrapper for class '", bean.className, L"'"));

    std::shared_ptr<IObject> object;
    {
        // The argument values live until the object's shared pointer exists.
        CCallArguments arguments(bean.preparedArguments, this, types_.get(), bean.library,
                                 bean.argumentTypes.data());
        std::unique_ptr<IObject> made = creator->CreateInstance(bean.factoryMethod.c_str(), arguments.Count(),
                                                                arguments.Values(), creator,
                                                                bean.exitMethod.c_str(), dependencies);
        object = std::shared_ptr<IObject>(made.release(), SDeleter());
        arguments.Release();
    }
    if (!object) return Fail(name, Message(L"Factory method '", bean.factoryMethod, L"' made no object"));

    if (bean.autoname) {
        const char* requested = name;
        std::vector<void*> args{static_cast<void*>(&requested)};
        if (!creator->Invoke(object.get(), "SetName", 1, &args)) return Fail(name, L"Method 'SetName' failed");
    }
    IType** propertyTypes = bean.argumentTypes.data() + bean.preparedArguments.size();
    for (SProperty* property : bean.preparedProperties) {
        if (!ApplyProperty(*property, this, object.get(), *classWrapper, types_.get(), bean.library, propertyTypes))
            return Fail(name, Message(L"Property '", property->name, L"' failed"));
        propertyTypes += property->arguments.size();
    }
    // An init method that throws ends up in the request's catch, like any
    // other failure: the object ends with the unwinding.
    if (!bean.initMethod.empty() && !classWrapper->Invoke(object.get(), bean.initMethod.c_str(), 0, nullptr))
        return Fail(name, Message(L"Init method '", bean.initMethod, L"' failed"));
    if (bean.singleton) {
        BeanPair& entry = instances_.FindOrInsert(name);
        entry = BeanPair(classWrapper, object);
        bean.singletonEntry = &entry;
    }
    InstanceCensus().Add(name, object.get());
    return {std::move(classWrapper), std::move(object)};
}

BeanPair CBeanFactoryImpl::FailToLoad(const char* name, const CLoadFailure& failure) noexcept {
    if (!failureHandler_) return {};
    try {
        return Fail(name, failure.GetMessageW() + L" (" + Widen(failure.Reason()) + L")");
    } catch (...) {
        // No memory for the longer text: the message alone.
        return Fail(name, failure.GetMessageW());
    }
}

BeanPair CBeanFactoryImpl::FailQuietly(const char* name, const char* what) noexcept {
    try {
        return Fail(name, Widen(what));
    } catch (...) {
        return {};
    }
}

std::vector<std::string> CurrentRequestChain() {
    std::vector<std::string> chain;
    for (const SRunning* frame = t_running; frame != nullptr; frame = frame->outer)
        if (frame->kind == ERunning::Making) chain.emplace_back(frame->name);
    std::reverse(chain.begin(), chain.end());
    return chain;
}

void SetBeanRequestObserver(IBeanFactory& factory, std::shared_ptr<IBeanRequestObserver> observer) {
    auto* impl = dynamic_cast<CBeanFactoryImpl*>(&factory);
    if (impl == nullptr) throw CException(L"Request observers are only for factories of this library");
    impl->SetRequestObserver(std::move(observer));
}

void SetBeanFailureHandler(IBeanFactory& factory, BeanFailureHandler handler) {
    auto* impl = dynamic_cast<CBeanFactoryImpl*>(&factory);
    if (impl == nullptr) throw CException(L"Failure handlers are only for factories of this library");
    impl->SetFailureHandler(std::move(handler));
}

std::shared_ptr<IObject> RequestReference(IBeanFactory* factory, const char* name, const SLibrary* library) {
    // The class is final: comparing the type is enough, and cheaper than a cast.
    if (factory != nullptr && typeid(*factory) == typeid(CBeanFactoryImpl))
        return static_cast<CBeanFactoryImpl*>(factory)->GetBeanObject(name, library, true);
    return factory->GetBean(name, library);
}

}  // namespace ZEM

// Tells ThreadSanitizer what Qt does between threads. Qt is not instrumented and its locks are not
// those of the C library, so what one thread hands to another through a thread pool or a posted
// call looks unordered: every use of it would be reported, and real races would drown.
//
// The functions by which work changes threads are defined here once more, before Qt's own, which
// they call: what happened before the work was handed over happened before the work runs, and what
// a pool has done happened before the wait for it ended. The locks of Qt's that lie in the way of
// objects of ours (D-Bus looks at them on a thread of its own) are told too. Nothing else is said
// to be ordered. Compiled into the test programs of the ThreadSanitizer build alone.
#include <QMetaObject>
#include <QObject>
#include <QReadWriteLock>
#include <QRunnable>
#include <QThreadPool>

#include <dlfcn.h>
#include <functional>
#include <sanitizer/tsan_interface.h>
#include <utility>

// Of the sanitizer's run-time library, which has no header for them.
extern "C" {
void AnnotateIgnoreWritesBegin(const char* file, int line);
void AnnotateIgnoreWritesEnd(const char* file, int line);
}

namespace {

/// While it lives, what this thread writes is not looked at: for calls into Qt that make what other
/// threads of Qt's delete.
class QtAtWork {
  public:
    QtAtWork() { AnnotateIgnoreWritesBegin(__FILE__, __LINE__); }
    ~QtAtWork() { AnnotateIgnoreWritesEnd(__FILE__, __LINE__); }
    QtAtWork(const QtAtWork&) = delete;
    QtAtWork& operator=(const QtAtWork&) = delete;
};

template <class Function>
Function* qtFunction(const char* mangledName) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, mangledName));
}

class HandedOverRunnable final : public QRunnable {
  public:
    HandedOverRunnable(std::function<void()> work, QThreadPool* pool)
        : work_(std::move(work)), pool_(pool) {
        __tsan_release(this);
    }
    void run() override {
        __tsan_acquire(this);
        work_();
        work_ = nullptr;
        __tsan_release(pool_);
    }

  private:
    std::function<void()> work_;
    QThreadPool* pool_;
};

class HandedOverCall final : public QtPrivate::QSlotObjectBase {
  public:
    explicit HandedOverCall(QSlotObjectBase* call) : QSlotObjectBase(&act), call_(call) {
        __tsan_release(this);
    }

  private:
    static void act(int which, QSlotObjectBase* self, QObject* receiver, void** arguments, bool*) {
        auto* const handedOver = static_cast<HandedOverCall*>(self);
        __tsan_acquire(handedOver);
        if (which == Call) {
            handedOver->call_->call(receiver, arguments);
            __tsan_release(handedOver);  // The thread that posted it may drop it last.
        } else if (which == Destroy) {
            handedOver->call_->destroyIfLastRef();
            delete handedOver;
        }
    }

    QSlotObjectBase* call_;
};

}  // namespace

void QThreadPool::start(std::function<void()> work, int priority) {
    QRunnable* const runnable = new HandedOverRunnable(std::move(work), this);
    const QtAtWork qt;
    start(runnable, priority);
}

bool QThreadPool::waitForDone(int milliseconds) {
    static auto* const original =
        qtFunction<bool(QThreadPool*, int)>("_ZN11QThreadPool11waitForDoneEi");
    const bool isDone = original(this, milliseconds);
    __tsan_acquire(this);
    return isDone;
}

bool QMetaObject::invokeMethodImpl(QObject* object, QtPrivate::QSlotObjectBase* call,
                                   Qt::ConnectionType type, void* result) {
    static auto* const original = qtFunction<bool(QObject*, QtPrivate::QSlotObjectBase*,
                                                  Qt::ConnectionType, void*)>(
        "_ZN11QMetaObject16invokeMethodImplEP7QObjectPN9QtPrivate15QSlotObjectBaseEN2Qt14Connecti"
        "onTypeEPv");
    auto* const handedOver = new HandedOverCall(call);
    const QtAtWork qt;
    return original(object, handedOver, type, result);
}

void QReadWriteLock::lockForRead() {
    static auto* const original =
        qtFunction<void(QReadWriteLock*)>("_ZN14QReadWriteLock11lockForReadEv");
    original(this);
    __tsan_acquire(this);
}

void QReadWriteLock::lockForWrite() {
    static auto* const original =
        qtFunction<void(QReadWriteLock*)>("_ZN14QReadWriteLock12lockForWriteEv");
    original(this);
    __tsan_acquire(this);
}

void QReadWriteLock::unlock() {
    static auto* const original = qtFunction<void(QReadWriteLock*)>("_ZN14QReadWriteLock6unlockEv");
    __tsan_release(this);
    original(this);
}

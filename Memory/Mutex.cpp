#include "Memory/Mutex.h"

#include <new>

Mutex::Mutex() : handle_(new (std::nothrow) pthread_mutex_t) {
  if (handle_ != nullptr && pthread_mutex_init(handle_, nullptr) != 0) {
    delete handle_;
    handle_ = nullptr;
  }
}

Mutex::~Mutex() {
  if (handle_ != nullptr) pthread_mutex_destroy(handle_);
  delete handle_;
}

void Mutex::Lock() {
  if (handle_ != nullptr) pthread_mutex_lock(handle_);
}

void Mutex::Unlock() {
  if (handle_ != nullptr) pthread_mutex_unlock(handle_);
}

#pragma once

#include "OwnContext.h"

#include <QtCore/QSharedPointer>

#include <memory>
#include <vector>

namespace Orvane { namespace ZelKit {

/// Keeps an object to the end of the process.
inline void keepForever(std::shared_ptr<void> object)
{
    static auto *const objects = new std::vector<std::shared_ptr<void>>; // not deleted at exit
    objects->push_back(std::move(object));
}

template <typename T> void keepForever(QSharedPointer<T> object)
{
    keepForever(std::make_shared<QSharedPointer<T>>(std::move(object)));
}

/// Keeps the members of an object that is deleted without its context, with a message: their destructors would delete objects
/// of the context that is current, which has the same GL names.
template <typename... Members>
void keepWithoutContext(const OwnContext &context, const char *what, Members &...members)
{
    if (!context.isCurrent(what)) {
        (keepForever(std::move(members)), ...);
    }
}

}} // namespace Orvane::ZelKit

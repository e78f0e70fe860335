#pragma once

namespace Platform {

/// What can go wrong with an update, one for each thing that is said about it.
enum class UpdateProblem {
    BadSetup,       ///< the feed's address or the key this program was built with
    Unreachable,    ///< no connection, or none that lasted to the first byte
    Interrupted,    ///< the connection ended early
    TimedOut,       ///< nothing came for too long
    Insecure,       ///< no trustworthy encrypted connection
    UnsafeRedirect, ///< sent on to a place that is not allowed, or in circles
    ServerError,    ///< an answer other than the file
    FeedTooLarge,
    FeedForbidden,
    FeedUnreadable,
    FeedWithoutRelease,
    FeedBadRelease,
    WrongLength,  ///< the package is not as long as announced
    BadSignature, ///< the package is not the publisher's
    NoRoom,       ///< the temporary file could not be written
    NotSaved,     ///< the verified package could not be put into the Downloads folder
};

} // namespace Platform

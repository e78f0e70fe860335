#include "Platform/Updates/UpdateTexts.h"

#include <QCoreApplication>
#include <QLocale>

namespace Platform::UpdateTexts {

namespace {

struct Row
{
    UpdateProblem problem;
    const char *message;
    const char *explanation;
};

constexpr Row problems[] = {
    {UpdateProblem::BadSetup, QT_TRANSLATE_NOOP("Updates", "Updates are not set up correctly."),
     QT_TRANSLATE_NOOP("Updates", "This copy was built with an update address or a key that cannot "
                                  "be used. Please get updates from where you got the program.")},
    {UpdateProblem::Unreachable,
     QT_TRANSLATE_NOOP("Updates", "The update server could not be reached."),
     QT_TRANSLATE_NOOP("Updates", "Please check the network connection and try again.")},
    {UpdateProblem::Interrupted,
     QT_TRANSLATE_NOOP("Updates", "The connection to the update server broke off."),
     QT_TRANSLATE_NOOP("Updates", "Nothing was changed. Please try again.")},
    {UpdateProblem::TimedOut,
     QT_TRANSLATE_NOOP("Updates", "The update server has stopped answering."),
     QT_TRANSLATE_NOOP("Updates", "Nothing was changed. Please try again later.")},
    {UpdateProblem::Insecure,
     QT_TRANSLATE_NOOP("Updates", "There is no secure connection to the update server."),
     QT_TRANSLATE_NOOP("Updates",
                       "It could not prove its identity, so nothing was downloaded. On a "
                       "public network, signing in there first may help.")},
    {UpdateProblem::UnsafeRedirect,
     QT_TRANSLATE_NOOP("Updates", "The update server refers to an unsafe address."),
     QT_TRANSLATE_NOOP("Updates", "It was not followed, and nothing was changed.")},
    {UpdateProblem::ServerError,
     QT_TRANSLATE_NOOP("Updates", "The update server answered with an error."),
     QT_TRANSLATE_NOOP("Updates", "Nothing was changed. Please try again later.")},
    {UpdateProblem::FeedTooLarge, QT_TRANSLATE_NOOP("Updates", "The list of updates is too large."),
     QT_TRANSLATE_NOOP("Updates", "It was refused, and nothing was changed.")},
    {UpdateProblem::FeedForbidden,
     QT_TRANSLATE_NOOP("Updates", "The list of updates contains what it must not."),
     QT_TRANSLATE_NOOP("Updates", "It may have been tampered with, so it was refused.")},
    {UpdateProblem::FeedUnreadable,
     QT_TRANSLATE_NOOP("Updates", "The list of updates cannot be read."),
     QT_TRANSLATE_NOOP("Updates", "The server sent something else, perhaps a sign-in page.")},
    {UpdateProblem::FeedWithoutRelease,
     QT_TRANSLATE_NOOP("Updates", "The list of updates has nothing for this system."),
     QT_TRANSLATE_NOOP("Updates", "Please try again later.")},
    {UpdateProblem::FeedBadRelease,
     QT_TRANSLATE_NOOP("Updates", "The newest update is not announced properly."),
     QT_TRANSLATE_NOOP("Updates", "Its version, address, length or signature is missing or wrong, "
                                  "so it was not downloaded.")},
    {UpdateProblem::WrongLength,
     QT_TRANSLATE_NOOP("Updates", "The update is not as long as announced."),
     QT_TRANSLATE_NOOP("Updates", "It was thrown away. Please try again later.")},
    {UpdateProblem::BadSignature, QT_TRANSLATE_NOOP("Updates", "The update is not genuine."),
     QT_TRANSLATE_NOOP("Updates", "Its signature is not the publisher's, so it was thrown away.")},
    {UpdateProblem::NoRoom, QT_TRANSLATE_NOOP("Updates", "There is no room for the update."),
     QT_TRANSLATE_NOOP("Updates", "The temporary folder could not be written. Please free some "
                                  "space and try again.")},
    {UpdateProblem::NotSaved, QT_TRANSLATE_NOOP("Updates", "The update could not be saved."),
     QT_TRANSLATE_NOOP("Updates", "It is genuine, but the Downloads folder could not be written. "
                                  "Please free some space and try again.")},
};

QString say(const char *text)
{
    return QCoreApplication::translate("Updates", text);
}

} // namespace

Notice fromPackageManager(const QString &program, const QString &version)
{
    return {say("Updates for %1 come from your package manager.").arg(program),
            say("You have version %1.").arg(version)};
}

Notice upToDate(const QString &program, const QString &version)
{
    return {say("%1 is up to date.").arg(program),
            say("Version %1 is the newest there is.").arg(version)};
}

Notice available(const QString &program, const QString &current, const QString &offered,
                 QDate published)
{
    const QString have = say("You have version %1.").arg(current);
    return {say("%1 %2 is available.").arg(program, offered),
            published.isNull() ? have
                               : say("It was published on %1.")
                                         .arg(QLocale().toString(published, QLocale::LongFormat)) +
                                     u' ' + have};
}

Notice saved(const QString &fileName)
{
    return {say("The update is in your Downloads folder."),
            say("It is genuine. Open %1 to install it.").arg(fileName)};
}

Notice notOpened(const QString &fileName)
{
    return {say("The update could not be opened."),
            say("You find %1 in your Downloads folder.").arg(fileName)};
}

Notice problem(UpdateProblem problem)
{
    for (const Row &row : problems)
        if (row.problem == problem)
            return {say(row.message), say(row.explanation)};
    return {};
}

QString title()
{
    return say("Software Update");
}

QString checking()
{
    return say("Looking for updates…");
}

QString downloading(const QString &program, const QString &version)
{
    return say("Downloading %1 %2…").arg(program, version);
}

QString notes()
{
    return say("Release notes");
}

QString ok()
{
    return say("OK");
}

QString cancel()
{
    return say("Cancel");
}

QString download()
{
    return say("Download");
}

QString later()
{
    return say("Later");
}

QString open()
{
    return say("Open");
}

QString close()
{
    return say("Close");
}

} // namespace Platform::UpdateTexts

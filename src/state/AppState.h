#pragma once

#include <QObject>
#include <QTimer>

#include <functional>
#include <memory>
#include <optional>
#include <random>
#include <vector>

#include "base/Published.h"
#include "base/Task.h"
#include "model/FolderItem.h"
#include "model/FolderScrollRequest.h"
#include "model/RepeatMode.h"
#include "model/TrackList.h"
#include "model/scanner/DirectorySnapshot.h"
#include "platform/appearance/SystemAppearance.h"
#include "platform/bookmark/Bookmark.h"
#include "platform/settings/Settings.h"
#include "playback/AudioEngineManager.h"
#include "playlists/PlaylistManager.h"
#include "relocation/MoveDetection.h"
#include "relocation/RelocationStore.h"
#include "state/AppTheme.h"
#include "state/PreparedFolderTransition.h"
#include "state/UserPrompts.h"

namespace halvenor {

class NowPlayingService;
struct MediaPlayerState;

/// The one central object: every view observes it, every action of the user goes through it, and
/// it owns the playback engine. Made once; main thread throughout.
///
/// The constructor is the program's start order. The operations of each concern lie in a source of
/// their own: AppStateLibrary, -Locations, -Navigation, -Search, -Enrichment, -Queue, -NextFolder,
/// -Playlists, -Relocation, -Session, -NowPlaying, -Waveform, -Theme.
///
/// After every wait a task tests again: stop requested, owner alive, subject still current.
class AppState : public QObject {
  public:
    /// What AppState needs of its surroundings; the program's own are made by the entry.
    struct Dependencies {
        Dependencies(std::unique_ptr<AudioOutput> output, FileUrl settingsFile, FileUrl dataFolder,
                     std::function<SystemAppearance()> appearance);

        std::unique_ptr<AudioOutput> audioOutput;
        std::unique_ptr<AudioOutputDeviceService> outputDevices;  ///< null: no choice of devices
        FileUrl settingsFile;
        /// Where playlists.json and relocation.json are.
        FileUrl dataFolder;
        /// What the desktop asks for at this moment.
        std::function<SystemAppearance()> systemAppearance;
    };

    explicit AppState(Dependencies dependencies);
    ~AppState() override;

    /// "Halvenor" in the user's data folder (XDG_DATA_HOME).
    static FileUrl defaultDataFolder();
    /// Who asks the user. Without anybody, what has to be asked counts as cancelled.
    /// @param prompts outlives this object, or is taken back with null before it goes
    void setUserPrompts(UserPrompts* prompts) { userPrompts_ = prompts; }
    /// The program has come to the front.
    void becameActive() { checkRelocations(); }
    /// The program ends: everything that is remembered is put on the disk.
    void willTerminate();
    /// Brings the main window to the front, wherever it is. Set by the entry; may be absent.
    std::function<void()> onShowMainWindow;
    /// Ends the program as the user's own command does. Set by the entry; may be absent.
    std::function<void()> onTerminate;

    // ---- What the window presents --------------------------------------------------------------
    Published<bool> isSettingsPresented{false};
    /// The list of what was played.
    Published<bool> isPlaybackQueuePresented{false};
    /// The large cover takes the place of everything else.
    Published<bool> isCoverModePresented{false};

    // ---- Library -------------------------------------------------------------------------------
    /// The Locations as tree roots, in natural order of their names.
    Published<FolderList> rootFolders;
    /// The Locations in the order they were added.
    Published<std::vector<FileUrl>> libraryFolders;
    /// Paths of those Locations that were there when last looked at.
    Published<QSet<QByteArray>> availableLocationPaths;

    /// The first of rootFolders.
    std::optional<FolderItem> rootFolder() const;
    /// Lets the user choose a folder to add.
    void openFolderPicker();
    /// Adds a Location, remembers it, and opens it. One that is there already is only opened.
    void openDirectory(const FileUrl& url);
    /// Forgets a Location and all that hangs on it. What plays goes on.
    void removeFolder(const FileUrl& url);
    bool isRootFolder(const FolderItem& folder) const;

    // ---- Folder tree ---------------------------------------------------------------------------
    /// The open folder.
    Published<std::optional<FolderItem>> selectedFolder;
    Published<QHash<QByteArray, FolderList>> folderChildren;
    Published<QHash<QByteArray, TrackList>> folderTracks;
    Published<QSet<QByteArray>> loadedFolderIDs;
    Published<QSet<QByteArray>> loadingFolderIDs;
    Published<QSet<QByteArray>> expandedFolderIDs;
    Published<QSet<QByteArray>> markedFolderIDs;
    /// The tree shows marked folders and the ways down to them alone. Remembered.
    Published<bool> showMarkedFoldersOnly{false};
    Published<std::optional<FolderScrollRequest>> folderScrollRequest;

    /// Makes `folder` the open folder: its tracks fill the track list.
    void openFolder(const FolderItem& folder);
    /// Lists in the background, unless that is under way.
    void loadDirectory(const FolderItem& folder);
    /// Forgets what is known of one folder and lists it again.
    void refreshFolder(const FolderItem& folder);
    FolderList children(const FolderItem& folder) const;
    bool isFolderExpanded(const FolderItem& folder) const;
    bool isFolderLoaded(const FolderItem& folder) const;
    bool isFolderLoading(const FolderItem& folder) const;
    bool isFolderMarked(const FolderItem& folder) const;
    /// Changes the state alone; the row that shows it loads what it needs.
    void toggleFolderExpanded(const FolderItem& folder);
    void ensureFolderChildrenLoaded(const FolderItem& folder);
    void toggleFolderMarked(const FolderItem& folder);
    /// Whether the filter lets `folder` show: it is off, or the folder or one under it is marked.
    bool shouldDisplayFolder(const FolderItem& folder) const;
    /// Expands the way down to `folder`, opens it and asks for its row to be scrolled into view.
    void revealFolderInTree(const FolderItem& folder);
    /// The same for the folder of the track that plays; the filter is turned off for it.
    void revealPlayingTrackFolder();

    // ---- Folder search -------------------------------------------------------------------------
    /// Every assignment schedules a search, a quarter of a second later, for what it then holds.
    Published<QString> searchQuery;
    Published<FolderList> folderSearchResults;
    Published<bool> isFolderSearchInProgress{false};

    // ---- Tags of the open folder ---------------------------------------------------------------
    /// The folder whose tags are being read.
    Published<std::optional<QByteArray>> metadataLoadingFolderID;

    /// Puts rewritten records in the place of the old ones, in every list on show or playing.
    void applyMetadataUpdates(const QList<Track>& tracks);

    // ---- Queue and transport -------------------------------------------------------------------
    /// The tracks on show.
    Published<TrackList> playbackQueue;
    /// The tracks being played through; stays as it is while the user browses elsewhere.
    Published<TrackList> playingQueue;
    /// Finished or left tracks, most recent first, at most 30.
    Published<TrackList> playbackHistory;
    /// The current track's place in playingQueue.
    Published<qsizetype> currentIndex{0};
    Published<bool> isShuffleEnabled{false};
    /// Remembered.
    Published<RepeatMode> repeatMode{RepeatMode::off};
    /// The track that the engine has current.
    Published<std::optional<Track>> selectedTrack;
    /// The selection in the track list.
    Published<QSet<QByteArray>> selectedTrackIDs;
    /// The last failure, for the window to show.
    Published<std::optional<QString>> playbackErrorMessage;

    /// The user's explicit choice of a track.
    void play(const Track& track);
    void playNext();
    void playPrevious();
    void toggleShuffle();
    /// off, all, nextFolder, off, ...
    void cycleRepeatMode();
    /// Tells the engine again which track follows. Called whenever that might have changed.
    void refreshGaplessQueue();
    /// What must follow the current track. May build a shuffle order, and has no other effect.
    std::optional<Track> gaplessNextTrack();
    /// Whether the list goes on after, or began before, the track that plays. Looks at the plain
    /// index: while shuffling there may be more to come than this tells.
    bool hasNext() const;
    bool hasPrevious() const;
    /// Plays a music file, or opens a folder of them, that another program hands over.
    void openFromOutside(const FileUrl& url);

    // ---- Waveform ------------------------------------------------------------------------------
    /// 160 values between 0 and 1 of the current track, or none while they are not known.
    Published<QList<float>> waveformPeaks;

    /// Empties the peaks and has those of `track` read; they arrive if it is current by then.
    void loadWaveform(const Track& track);
    /// The same for the current track, if the waveform is shown and its peaks are not known.
    void ensureWaveformLoaded();

    // ---- Desktop's controls --------------------------------------------------------------------
    /// The media keys and the panel that shows what plays. start() puts the player there.
    NowPlayingService& nowPlayingService() { return *nowPlayingService_; }

    // ---- Playlists -----------------------------------------------------------------------------
    /// The playlist on show.
    Published<std::optional<Playlist>> openPlaylist;
    /// The tracks of a playlist are being read.
    Published<bool> isScanning{false};
    /// Standardised paths of the favourites.
    Published<QSet<QByteArray>> favoriteTrackPaths;

    /// Shows a playlist: its tracks that exist fill the track list.
    void showPlaylist(const Playlist& playlist);
    /// Deletes a playlist; one that is on show is no longer.
    void deletePlaylist(const QUuid& id);
    bool isFavorite(const Track& track) const;
    void toggleFavorite(const Track& track);
    void addToPlaylist(const QList<Track>& tracks, const QUuid& id);

    // ---- Moved files ---------------------------------------------------------------------------
    /// The user is pointing at a new place of a folder; nothing is followed meanwhile.
    Published<bool> isRelocating{false};
    /// Each check of the paths that are remembered has ended with this.
    Published<int> finishedRelocationChecks{0};
    /// Whether a check is under way, or the road on which the user points at a new place.
    bool isFollowingMoves() const { return relocationTask_.isOccupied(); }

    /// Looks where everything that is remembered is now, and follows what has moved. Returns at
    /// once; a call during a check makes one more check follow it.
    void checkRelocations();
    /// Lets the user say where a folder is now. Its contents are compared before a link is changed.
    void relocateFolder(const FileUrl& folder);
    /// We have put a new file in the place of this one: what finds it again is made anew.
    void fileWasReplaced(const FileUrl& file);
    /// The top-most remembered folders that are missing from Locations that are there, in order.
    std::vector<FileUrl> missingRelocationFolders() const;

    // ---- Look ----------------------------------------------------------------------------------
    /// Remembered.
    Published<AppTheme> selectedTheme{AppTheme::halvenorDark};
    /// Remembered. Turning it on takes the desktop's look at once.
    Published<bool> followOSTheme{true};
    /// The player bar shows the waveform instead of the plain timeline. Remembered.
    Published<bool> showWaveform{true};
    /// Remembered.
    Published<bool> useLiquidTitanWaveform{false};

    /// The desktop's appearance has changed, or a window has appeared.
    void applySystemColorScheme(SystemAppearance appearance);

    // ---- What it is made of --------------------------------------------------------------------
    AudioEngineManager& audioEngine() { return audioEngine_; }
    Settings& settings() { return settings_; }
    PlaylistManager& playlistManager() { return playlistManager_; }
    RelocationStore& relocationStore() { return relocationStore_; }

  private:
    // Start
    void connectChangeHandlers();
    void restoreSettings();
    void subscribeToEngine();
    void subscribeToPlaylists();
    void setupMediaKeys();
    void installLoadFailureReport();

    // Library
    enum class Persist { no, yes };
    enum class Select { no, yes };
    void registerLibraryFolder(const FileUrl& url, Persist persist, Select select);
    void loadLibraryBookmarks();
    void restoreLibraryFolders();
    MoveTable movesOfLostLocations(MoveTable moves);
    QList<QByteArray> libraryPaths() const;
    void setLibraryFolders(const std::vector<FileUrl>& folders);
    void persistLibraryBookmarks();
    void writeLibraryBookmarks();
    Task<> renewedBookmarks(std::stop_token token);

    // Folder tree
    Task<> loadDirectoryTask(FolderItem folder, std::stop_token token);
    Task<> loadDirectoryForNavigation(FolderItem folder, std::stop_token token);
    Task<> navigateToFolder(FileUrl target, FolderItem root, std::stop_token token);
    Task<> revealPlayingFolderTask(FileUrl folder, std::optional<FolderItem> root,
                                   std::stop_token token);
    void storeListing(const QByteArray& folderID, const DirectorySnapshot& listing);
    std::optional<FolderItem> deepestRootContaining(const QByteArray& path) const;
    void persistMarkedFolders();
    void prepareToPlay();
    void scheduleFolderSearch();
    Task<> searchTask(QString query, std::stop_token token);

    // Tags
    void startMetadataEnrichment(const QByteArray& folderID);
    Task<> enrichmentTask(QByteArray folderID, TrackList tracks, std::vector<qsizetype> unread,
                          std::stop_token token);
    void publishEnriched(const QByteArray& folderID, const TrackList& tracks,
                         const QList<Track>& changed);

    // Queue
    void loadAndPlay(const Track& track);
    void addToPlaybackHistory(const std::optional<Track>& track);
    void rebuildShuffleOrder(std::optional<qsizetype> pinning);
    void handleGaplessTransition(const Track& track);
    void repeatModeChanged(RepeatMode mode);
    bool isShuffling() const;
    /// What follows in the list that plays. May build a shuffle order.
    std::optional<Track> nextInPlayingQueue();
    bool isAtEndOfPlayingQueue() const;
    /// The one library folder whose tracks make up playingQueue; absent for any other list.
    std::optional<FileUrl> playingSourceFolderURL() const;
    /// The first row whose track has this URL, standardised, or -1.
    static qsizetype indexOfUrl(const TrackList& tracks, const FileUrl& url);

    // Desktop's controls
    void updateNowPlaying(const Track& track);
    void subscribeMediaControls();
    MediaPlayerState mediaPlayerState() const;
    Task<> outsideOpening(FileUrl file, std::stop_token token);

    // Waveform
    Task<> waveformTask(Track track, std::stop_token token);

    // Next folder
    void scheduleNextFolderPreparation();
    Task<> nextFolderPreparation(FileUrl source, std::stop_token token);
    /// Whether the next folder is still wanted, and is that after `source`.
    bool continuesAfter(const FileUrl& source) const;
    /// What is prepared, if it is for the folder that plays now; else null.
    const PreparedFolderTransition* preparedForPlayingFolder() const;
    void activateNextFolder(PreparedFolderTransition prepared, const Track& transitionedTrack);
    void advanceToNextFolderWhenReady();
    Task<> nextFolderAdvance(FileUrl source, std::stop_token token);
    void startPreparedNextFolder(PreparedFolderTransition prepared);

    // Session
    void persistPlayer();
    void restorePlayer();
    void restoreLastPlaybackSession();
    Task<> playbackRestore(FileUrl url, double position, std::stop_token token);
    bool isCurrent(const FileUrl& url) const;
    void resumeListOf(const FileUrl& url);
    void restoreLastTrackSelectionIfNeeded();

    // Playlists
    void followOpenPlaylist();
    void startPlaylistLoad(const Playlist& wanted);
    Task<> playlistLoad(Playlist wanted, std::stop_token token);
    void updatePlaylistRows(const TrackList& read);

    // Moved files
    Task<> relocationCheck(std::stop_token token);
    Task<> relocationValidation(FileUrl oldFolder, FileUrl newFolder, std::stop_token token);
    Task<> relocationOfFolder(FileUrl oldFolder, FileUrl newFolder, std::stop_token token);
    void relocationFolderChosen(const FileUrl& folder, const std::optional<FileUrl>& chosen);
    void endRelocating();
    void applyRelocations(const MoveTable& moves, const RelocationRecords& records);
    void relocateTracks(const MoveTable& moves);
    void relocateLibrary(const MoveTable& moves);
    void reloadAfterRelocation(const MoveTable& moves);
    void noteAvailableLocations(const QSet<QByteArray>& available, const QSet<QByteArray>& missing);

    // Look
    void followAppearance(SystemAppearance appearance);

    Settings settings_;
    std::function<SystemAppearance()> systemAppearance_;
    AudioEngineManager audioEngine_;
    PlaylistManager playlistManager_;
    RelocationStore relocationStore_;
    UserPrompts* userPrompts_ = nullptr;
    std::unique_ptr<NowPlayingService> nowPlayingService_;

    std::vector<qsizetype> shuffleOrder_;
    qsizetype shufflePosition_ = 0;
    std::mt19937 random_{std::random_device{}()};

    /// The folder that all tracks of a list lie in, for the list that was last asked about.
    struct CommonFolder {
        TrackList::RowsIdentity rows;
        std::optional<FileUrl> folder;
    };
    mutable CommonFolder commonFolder_;

    QHash<QByteArray, std::shared_ptr<TaskSlot>> directoryLoadTasks_;
    bool isPreparedToPlay_ = false;
    TaskSlot metadataLoadTask_;
    TaskSlot folderNavigationTask_;
    TaskSlot folderSearchTask_;
    TaskSlot playbackRestoreTask_;
    /// The list of the track that was restored is not known yet, so neither is what follows it:
    /// what was declared now would have to be taken back, which is heard if the user plays already.
    bool isListRestoring_ = false;
    TaskSlot nextFolderPreparationTask_;
    TaskSlot playlistLoadTask_;
    TaskSlot waveformTask_;
    TaskSlot outsideOpeningTask_;
    std::optional<PreparedFolderTransition> preparedNextFolderTransition_;

    QHash<QByteArray, QByteArray> libraryBookmarkData_;
    /// The Locations as they stood when the last check ended. Where one of them goes, it is
    /// followed.
    QSet<QByteArray> originalLocationPaths_;
    TaskSlot libraryBookmarkTask_;
    /// Every move accepted in this run, from the old path to the latest.
    MoveTable relocatedSessionPaths_;
    TaskSlot relocationTask_;
    bool relocationRequested_ = false;
    QTimer relocationTimer_;
    /// Used by one job of relocationService_ at a time.
    std::shared_ptr<BookmarkResolver> bookmarkResolver_;
    Service relocationService_;

    Subscriptions subscriptions_;
};

}  // namespace halvenor

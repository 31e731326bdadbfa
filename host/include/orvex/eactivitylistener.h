#pragma once

/// The host's events, by number.
struct EActivityListener
{
    enum Event : int {
        /// The network has come up: HTTP clients are to be made anew.
        NetworkUp = 10,
        /// The network settings have changed: HTTP clients are to be made anew.
        NetworkSettingsChanged = 11,
        /// On-premises marking modules are to be brought into the configured state.
        LocalModulesSetUp = 96,
        /// The host's services are ready, or the connection to the operator is to be set up afresh.
        OnlineServicesRefresh = 172,
        /// A message for the cashier (events::ErrorNotification).
        ErrorNotification = 250,
        /// Connection settings of a verification service.
        InitVerifyService = 256,
    };
};

#pragma once

/// While it exists, the transfer loops of this program get an error from libcurl.
class FAILING_LIBCURL
{
public:
    enum class CALL
    {
        multi_init,
        multi_add_handle
    };

    /// \param good_calls  that succeed before the others fail
    explicit FAILING_LIBCURL(CALL call, int good_calls = 0);
    ~FAILING_LIBCURL();
    FAILING_LIBCURL(const FAILING_LIBCURL&) = delete;
    FAILING_LIBCURL& operator=(const FAILING_LIBCURL&) = delete;

private:
    const CALL m_call;
};

/// Counts the transfers that this program's transfer loops run at the same time, during its
/// lifetime.
class OPEN_TRANSFERS
{
public:
    OPEN_TRANSFERS();
    int most() const;
};

-- Fetches the settings namespace with the bench account's access token.
wrk.method = "GET"
wrk.path = "/api/v3/sync/items?namespace=settings.session"
wrk.headers["Authorization"] = "Bearer " .. os.getenv("VLM_BENCH_TOKEN")

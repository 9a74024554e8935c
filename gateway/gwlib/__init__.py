"""The virtual gateway: builds its world, boots it, and talks to what runs inside."""
